#include "koracommand/CmdBase.h"

#include "runtime/apartment/Round.h"
#include "tests/support/LogRecorder.h"
#include "tests/unit/koracommand/LevelFixture.h"
#include "tests/unit/koracommand/TestMessages.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace
{

using namespace std::chrono_literals;

/// A command whose work does what the test wants.
class WorkingCmd final : public CmdBase
{
public:
    using Work = std::unique_ptr<Rsp> (*)();

    WorkingCmd(std::span<const std::uint8_t> message, std::shared_ptr<RspQueue> rspQueue,
               std::shared_ptr<ConnectionContext> context, Work work)
        : CmdBase(message, std::move(rspQueue), std::move(context)), m_work(work)
    {}

    std::unique_ptr<Rsp> createRsp() override { return m_work(); }

private:
    Work m_work;
};

class CmdBaseTest : public ::testing::Test
{
protected:
    std::unique_ptr<CmdBase> command(const Bytes& message) const
    {
        return std::make_unique<CmdBase>(message, m_queue, m_context);
    }
    std::unique_ptr<CmdBase> command(WorkingCmd::Work work) const
    {
        return std::make_unique<WorkingCmd>(networkRequest(0x50), m_queue, m_context, work);
    }

    /// The one entry in the queue; fails when there is none or another one behind it.
    std::unique_ptr<Rsp> onlyAnswer() const
    {
        auto answer = m_queue->popWithin(0ms);
        EXPECT_TRUE(answer.has_value());
        EXPECT_FALSE(m_queue->popWithin(0ms).has_value()) << "more than one answer";
        return answer ? std::move(*answer) : nullptr;
    }

    static Words errorWords() { return expectedRsp(0x80000000, {8}); }

    testsupport::LogRecorder m_log;
    std::shared_ptr<RspQueue> m_queue = std::make_shared<RspQueue>();
    std::shared_ptr<ConnectionContext> m_context =
        std::make_shared<ConnectionContext>(log4cxx::Logger::getLogger("KORABRIDGE"), 3, &fixedClock);
};

TEST_F(CmdBaseTest, HoldsTheMessageInHostOrder)
{
    const auto sut = command(networkRequest(0x99, {0x0a0b0c0d}));
    EXPECT_EQ(sut->getMsgId(), 0x99U);
    EXPECT_EQ(sut->getLength(), 20U);
    EXPECT_EQ(WireReader({sut->getData(), 20}).hostWordAt(16), 0x0a0b0c0dU);
}

TEST_F(CmdBaseTest, PlainCommandAnswersWithTheErrorCode8)
{
    const auto sut = command(networkRequest(0x99));
    sut->doIt();
    const auto answer = onlyAnswer();
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(hostWordsOf(*answer), errorWords());
}

TEST_F(CmdBaseTest, CommandThatThrowsAnswersWithTheErrorAndIsLogged)
{
    const auto sut = command(+[]() -> std::unique_ptr<Rsp> { throw std::runtime_error("bus is gone"); });
    EXPECT_NO_THROW(sut->doIt());
    const auto answer = onlyAnswer();
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(hostWordsOf(*answer), errorWords());
    const auto lines = m_log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].level, "ERROR");
    EXPECT_NE(lines[0].text.find("bus is gone"), std::string::npos) << lines[0].text;
}

TEST_F(CmdBaseTest, CommandThatRunsOutOfMemoryAnswersWithTheError)
{
    const auto sut = command(+[]() -> std::unique_ptr<Rsp> { throw std::bad_alloc(); });
    sut->doIt();
    const auto answer = onlyAnswer();
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(hostWordsOf(*answer), errorWords());
}

TEST_F(CmdBaseTest, CommandThatThrowsNoExceptionClassAnswersWithTheError)
{
    const auto sut = command(+[]() -> std::unique_ptr<Rsp> { throw 1; });
    EXPECT_NO_THROW(sut->doIt());
    const auto answer = onlyAnswer();
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(hostWordsOf(*answer), errorWords());
}

TEST_F(CmdBaseTest, CommandDeletedWithoutHavingRunEndsTheWait)
{
    auto sut = command(networkRequest(0x50));
    sut.reset();
    EXPECT_EQ(onlyAnswer(), nullptr);
}

TEST_F(CmdBaseTest, CommandThatRanAddsNothingWhenDeleted)
{
    auto sut = command(networkRequest(0x99));
    sut->doIt();
    sut.reset();
    EXPECT_NE(onlyAnswer(), nullptr);
}

TEST_F(CmdBaseTest, TrailingBytesOfALengthThatFillsNoWordAreIgnored)
{
    Bytes message = networkRequest(0x99, {0x11111111, 0x22222222});
    WireWriter(message).setBigEndianWordAt(8, 23);
    message.resize(23);
    const auto sut = command(message);
    const CmdBase& base = *sut;
    EXPECT_EQ(base.getLength(), 23U);
    sut->doIt();
    EXPECT_NE(onlyAnswer(), nullptr);
}

/// Opens the request words.
class OpenCmd final : public CmdBase
{
public:
    using CmdBase::CmdBase;
    using CmdBase::request;
};

TEST_F(CmdBaseTest, BytesBehindTheLengthAreNotPartOfTheRequest)
{
    Bytes message = networkRequest(0x99, {0x11111111, 0x22222222});
    WireWriter(message).setBigEndianWordAt(8, 20);
    const OpenCmd sut(message, m_queue, m_context);
    EXPECT_EQ(sut.request().hostWordAt(16), 0x11111111U);
    EXPECT_EQ(sut.request().hostWordAt(20), 0U);
    EXPECT_EQ(sut.request().size(), 20U);
}

TEST_F(CmdBaseTest, LengthBeyondTheBytesGivenReadsNothingBehindThem)
{
    Bytes message = networkRequest(0x99, {0x11111111});
    WireWriter(message).setBigEndianWordAt(8, 8192);
    const OpenCmd sut(message, m_queue, m_context);
    EXPECT_EQ(sut.request().size(), 20U);
}

class CmdBaseInRoundTest : public CmdBaseTest
{
protected:
    com::tallowcrest::apartment::Round m_round{nullptr};
};

TEST_F(CmdBaseInRoundTest, TheResponseIsHandedOverWhenTheRoundEnds)
{
    m_round.run(command(networkRequest(0x99)));
    EXPECT_FALSE(m_queue->popWithin(0ms).has_value());

    m_round.end();

    const auto answer = onlyAnswer();
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(hostWordsOf(*answer), errorWords());
}

TEST_F(CmdBaseInRoundTest, CommandDeletedWithoutHavingRunEndsTheWaitWithTheRound)
{
    m_round.run([] {});
    command(networkRequest(0x50)).reset();

    m_round.end();

    EXPECT_EQ(onlyAnswer(), nullptr);
}

TEST_F(CmdBaseInRoundTest, ConnectionWhoseAnswerItIsWaitsForIt)
{
    EXPECT_EQ(command(networkRequest(0x50))->waiter(), m_queue.get());
}

TEST_F(CmdBaseInRoundTest, SixteenTakesMayShareARoundAndSeventeenMayNot)
{
    EXPECT_TRUE(command(networkRequest(0x50, Words(1 + 16 * 4, 1)))->isBrief());
    EXPECT_FALSE(command(networkRequest(0x50, Words(1 + 17 * 4, 1)))->isBrief());
}

} // namespace
