#include <msgfilter/host/singletonholder.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <gtest/gtest.h>

using zefa::pelno::SingletonHolder;

namespace {

// A holder's state is per type, so each use has its own.
template <int Tag> struct Counted {
    Counted() { ++constructions; }
    ~Counted() { std::fprintf(stderr, "destroyed %d\n", Tag); }
    static inline int constructions = 0;
};

void useAfterDestruction()
{
    try {
        SingletonHolder<Counted<1>>::instance();
    } catch (const std::logic_error& error) {
        std::fprintf(stderr, "caught: %s\n", error.what());
    }
    // Reported once: the next use builds a new object.
    SingletonHolder<Counted<1>>::instance();
    std::fprintf(stderr, "built: %d\n", Counted<1>::constructions);
    std::_Exit(0);
}

// The body runs in a child process, whose exit destroys the objects.
TEST(SingletonHolderDeathTest, BuildsOnceAndDestroysAtExitInReverseOrder)
{
    EXPECT_EXIT(
        {
            std::atexit(useAfterDestruction); // first in, so it runs after the destructions
            Counted<1>* first = &SingletonHolder<Counted<1>>::instance();
            SingletonHolder<Counted<2>>::instance();
            std::fprintf(stderr, "built: %d, same: %d\n", Counted<1>::constructions,
                first == &SingletonHolder<Counted<1>>::instance());
            std::exit(0);
        },
        ::testing::ExitedWithCode(0),
        "built: 1, same: 1\ndestroyed 2\ndestroyed 1\ncaught: Dead Reference Detected\nbuilt: 2\n");
}

} // namespace
