#include "runtime/hwobjs/CurrentTimecodeReader.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace
{

using com::tallowcrest::hwobjs::currentTimecode;
using com::tallowcrest::hwobjs::currentTimecodeReader;
using com::tallowcrest::hwobjs::ITimecodeReader;
using com::tallowcrest::hwobjs::resetCurrentTimecodeReader;
using com::tallowcrest::hwobjs::setCurrentTimecodeReader;
using com::tallowcrest::util::Timecode;

class FixedReader final : public ITimecodeReader
{
public:
    explicit FixedReader(std::uint32_t word) : m_timecode(word) {}
    Timecode getTimecode() const override { return m_timecode; }

private:
    Timecode m_timecode;
};

class CurrentTimecodeReaderTest : public testing::Test
{
protected:
    ~CurrentTimecodeReaderTest() override { resetCurrentTimecodeReader(); }
};

TEST_F(CurrentTimecodeReaderTest, anEmptySlotGivesMidnightInDropFrame)
{
    EXPECT_EQ(currentTimecodeReader(), nullptr);
    EXPECT_EQ(currentTimecode().word(), 0x02000000U);
}

TEST_F(CurrentTimecodeReaderTest, theReaderInTheSlotIsAsked)
{
    const auto reader = std::make_shared<FixedReader>(0x01000064);

    setCurrentTimecodeReader(reader);

    EXPECT_EQ(currentTimecodeReader(), reader);
    EXPECT_EQ(currentTimecode().word(), 0x01000064U);
}

TEST_F(CurrentTimecodeReaderTest, aNewReaderReplacesTheOldOneAndLetsItGo)
{
    auto first = std::make_shared<FixedReader>(0x01000001);
    const std::weak_ptr<FixedReader> watched = first;
    setCurrentTimecodeReader(std::move(first));

    setCurrentTimecodeReader(std::make_shared<FixedReader>(0x01000002));

    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(currentTimecode().word(), 0x01000002U);
}

TEST_F(CurrentTimecodeReaderTest, resetEmptiesTheSlot)
{
    setCurrentTimecodeReader(std::make_shared<FixedReader>(0x01000001));

    resetCurrentTimecodeReader();

    EXPECT_EQ(currentTimecodeReader(), nullptr);
    EXPECT_EQ(currentTimecode().word(), 0x02000000U);
}

TEST_F(CurrentTimecodeReaderTest, theSlotMayChangeWhileOthersRead)
{
    std::thread changer([] {
        for (int i = 0; i < 2000; ++i)
        {
            setCurrentTimecodeReader(std::make_shared<FixedReader>(0x01000001));
            resetCurrentTimecodeReader();
        }
    });

    for (int i = 0; i < 2000; ++i)
    {
        const std::uint32_t word = currentTimecode().word();
        EXPECT_TRUE(word == 0x01000001U || word == 0x02000000U);
    }
    changer.join();
}

} // namespace
