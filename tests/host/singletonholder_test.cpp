#include <msgfilter/host/singletonholder.h>

#include <QObject>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <gtest/gtest.h>

using namespace zefa::pelno;

namespace {

// Each test uses its own types: a holder's state is per type, and the death tests run
// their bodies in a child process that ends through exit().
template <int Tag> struct Counted {
    Counted() { ++constructions; }
    ~Counted() { std::fprintf(stderr, "destroyed %d\n", Tag); }
    static inline int constructions = 0;
};

TEST(SingletonHolder, BuildsOnceOnFirstUse)
{
    using Holder = SingletonHolder<Counted<1>>;
    EXPECT_EQ(Counted<1>::constructions, 0);
    Counted<1>& first = Holder::instance();
    Counted<1>& again = Holder::instance();
    EXPECT_EQ(&first, &again);
    EXPECT_EQ(Counted<1>::constructions, 1);
}

// Like the library's managers: a QObject whose only constructor takes the parent.
class ParentTaking : public QObject {
public:
    explicit ParentTaking(QObject* parent)
        : QObject(parent)
    {
    }
};

TEST(SingletonHolder, BuildsQObjectWithoutParent)
{
    ParentTaking& object = SingletonHolder<ParentTaking>::instance();
    EXPECT_EQ(object.parent(), nullptr);
    EXPECT_EQ(&object, &SingletonHolder<ParentTaking>::instance());
}

TEST(SingletonHolderDeathTest, DestroyedAtExitInReverseOrderOfCreation)
{
    EXPECT_EXIT(
        {
            SingletonHolder<Counted<2>>::instance();
            SingletonHolder<Counted<3>>::instance();
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "destroyed 3\ndestroyed 2\n");
}

void useAfterDestruction()
{
    try {
        SingletonHolder<Counted<4>>::instance();
        std::fprintf(stderr, "no error\n");
    } catch (const std::logic_error& error) {
        std::fprintf(stderr, "caught: %s\n", error.what());
    }
    // The error is reported once; the next use builds a new object.
    SingletonHolder<Counted<4>>::instance();
    std::fprintf(stderr, "built again: %d\n", Counted<4>::constructions);
    std::_Exit(0);
}

TEST(SingletonHolderDeathTest, UseAfterDestructionIsADeadReference)
{
    EXPECT_EXIT(
        {
            // Registered first, so it runs after the holder destroyed its object.
            std::atexit(useAfterDestruction);
            SingletonHolder<Counted<4>>::instance();
            std::exit(0);
        },
        ::testing::ExitedWithCode(0),
        "destroyed 4\ncaught: Dead Reference Detected\nbuilt again: 2\n");
}

} // namespace
