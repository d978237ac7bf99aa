#include <msgfilter/host/singletonholder.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <gtest/gtest.h>

using zefa::pelno::SingletonHolder;

namespace {

// A holder's state is per type, so each use has its own; the death test runs its body in
// a child process that ends through exit().
template <int Tag> struct Counted {
    Counted() { ++constructions; }
    ~Counted() { std::fprintf(stderr, "destroyed %d\n", Tag); }
    static inline int constructions = 0;
};

TEST(SingletonHolder, BuildsOnceOnFirstUse)
{
    EXPECT_EQ(Counted<1>::constructions, 0);
    Counted<1>& first = SingletonHolder<Counted<1>>::instance();
    EXPECT_EQ(&first, &SingletonHolder<Counted<1>>::instance());
    EXPECT_EQ(Counted<1>::constructions, 1);
}

void useAfterDestruction()
{
    try {
        SingletonHolder<Counted<2>>::instance();
        std::fprintf(stderr, "no error\n");
    } catch (const std::logic_error& error) {
        std::fprintf(stderr, "caught: %s\n", error.what());
    }
    // Reported once: the next use builds a new object.
    SingletonHolder<Counted<2>>::instance();
    std::fprintf(stderr, "built again: %d\n", Counted<2>::constructions);
    std::_Exit(0);
}

TEST(SingletonHolderDeathTest, DestroyedAtExitInReverseOrderThenADeadReference)
{
    EXPECT_EXIT(
        {
            std::atexit(useAfterDestruction); // first in, so it runs after the destructions
            SingletonHolder<Counted<2>>::instance();
            SingletonHolder<Counted<3>>::instance();
            std::exit(0);
        },
        ::testing::ExitedWithCode(0),
        "destroyed 3\ndestroyed 2\ncaught: Dead Reference Detected\nbuilt again: 2\n");
}

} // namespace
