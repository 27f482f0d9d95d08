#include "runtime/util/Slot.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

using com::tallowcrest::util::processSlot;
using com::tallowcrest::util::Slot;

namespace
{

using Text = std::string;

TEST(SlotTest, isEmptyAtFirst)
{
    const Slot<Text> sut;

    EXPECT_EQ(sut.get(), nullptr);
}

TEST(SlotTest, givesWhatWasPutInLast)
{
    Slot<Text> sut;

    sut.set(std::make_shared<Text>("first"));
    sut.set(std::make_shared<Text>("second"));

    ASSERT_NE(sut.get(), nullptr);
    EXPECT_EQ(*sut.get(), "second");
}

TEST(SlotTest, letsItsObjectGoWhenEmptied)
{
    Slot<Text> sut;
    auto object = std::make_shared<Text>("object");
    const std::weak_ptr<Text> watched = object;
    sut.set(std::move(object));
    ASSERT_FALSE(watched.expired());

    sut.reset();

    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(sut.get(), nullptr);
}

TEST(SlotTest, aFullSlotMakesNothing)
{
    Slot<Text> sut;
    int numMade = 0;
    const auto make = [&numMade] {
        ++numMade;
        return std::make_shared<Text>("made");
    };

    sut.setIfEmpty(make);
    sut.setIfEmpty(make);

    EXPECT_EQ(numMade, 1);
    EXPECT_EQ(*sut.get(), "made");
}

TEST(SlotTest, whatCannotBeMadeLeavesTheSlotEmptyAndUsable)
{
    Slot<Text> sut;

    EXPECT_THROW(sut.setIfEmpty([]() -> std::shared_ptr<Text> { throw std::runtime_error("no thread"); }),
                 std::runtime_error);

    EXPECT_EQ(sut.get(), nullptr);
}

/// Looks into its own slot when it goes.
struct Curious
{
    explicit Curious(Slot<Curious>& slot) : m_slot(slot) {}
    ~Curious() { static_cast<void>(m_slot.get()); }
    Curious(const Curious&) = delete;
    Curious& operator=(const Curious&) = delete;

    Slot<Curious>& m_slot;
};

TEST(SlotTest, anObjectMayUseTheSlotWhileItIsLetGo)
{
    Slot<Curious> sut;
    sut.set(std::make_shared<Curious>(sut));
    sut.set(std::make_shared<Curious>(sut));

    sut.reset();

    EXPECT_EQ(sut.get(), nullptr);
}

TEST(SlotTest, theProcessHasOneSlotForEachType)
{
    processSlot<Text>().set(std::make_shared<Text>("text"));

    EXPECT_EQ(processSlot<int>().get(), nullptr);
    EXPECT_EQ(*processSlot<Text>().get(), "text");
    processSlot<Text>().reset();
}

} // namespace
