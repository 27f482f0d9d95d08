#include "koracommand/CmdHandlerImpl.h"

#include "koracommand/CmdTable.h"
#include "runtime/apartment/Crowd.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScheduledTurns.h"
#include "tests/unit/koracommand/CmdHandlerFixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace
{

class CmdHandlerImplTest : public CmdHandlerFixture
{
protected:
    std::string shown()
    {
        ::testing::internal::CaptureStdout();
        m_sut->show();
        return ::testing::internal::GetCapturedStdout();
    }
};

TEST_F(CmdHandlerImplTest, AnswersInNetworkOrder)
{
    const auto rsp = m_sut->handle(networkRequest(0x4000));
    ASSERT_NE(rsp, nullptr);
    EXPECT_EQ(rsp->getLength(), 24U);
    EXPECT_EQ(bytesOf(*rsp), networkBytes(expectedRsp(0x80004000, {0})));
}

TEST_F(CmdHandlerImplTest, CommandRunsOnTheApartmentsThread)
{
    std::thread::id runner;
    m_level->onTake = [&] { runner = std::this_thread::get_id(); };
    handle(networkRequest(0x50, {1, 1, 7, 3, 5}));
    EXPECT_NE(runner, std::thread::id());
    EXPECT_NE(runner, std::this_thread::get_id());
}

/// Somebody else's request.
class OthersEvent final : public com::tallowcrest::apartment::DoItEvent
{
public:
    explicit OthersEvent(std::function<void()> work) : m_work(std::move(work))
    {
        setWaiter(this);
        setBrief();
    }
    void doIt() override { m_work(); }

private:
    std::function<void()> m_work;
};

TEST_F(CmdHandlerImplTest, ConnectionsThreadTakesShortTurnsAndPatientOnesInACrowd)
{
    using com::tallowcrest::apartment::Crowd;
    const auto brief = testsupport::shortTurns();
    const auto patient = testsupport::patientTurns();
    handle(networkRequest(0x4000));
    EXPECT_EQ(testsupport::turnsOfThisThread(), brief);
    std::promise<void> release;
    std::promise<void> done;
    com::tallowcrest::apartment::post(*m_apartment,
                                      std::make_unique<OthersEvent>([&] { release.get_future().wait(); }));
    for (std::uint32_t i = 0; i < 2 * Crowd::numJudged; ++i)
    {
        com::tallowcrest::apartment::post(*m_apartment, std::make_unique<OthersEvent>([] {}));
    }
    com::tallowcrest::apartment::post(*m_apartment, std::make_unique<OthersEvent>([&] { done.set_value(); }));
    release.set_value();
    done.get_future().wait();
    ASSERT_TRUE(m_apartment->isCrowded());

    handle(networkRequest(0x4000));
    EXPECT_EQ(testsupport::turnsOfThisThread(), patient);

    m_clock->pass(2 * Crowd::judgedTime);
    handle(networkRequest(0x4000)); // the one after which nobody is there any more
    handle(networkRequest(0x4000));
    EXPECT_EQ(testsupport::turnsOfThisThread(), brief);
}

TEST_F(CmdHandlerImplTest, ChangesAreThoseOfTheHandlersConnection)
{
    handle(networkRequest(0x53, {0, 1}));
    EXPECT_EQ(m_level->calls, (std::vector<FakeLevel::Call>{{"beginOutputChanges", {3}}}));
}

TEST_F(CmdHandlerImplTest, SystemStatusCarriesTheTimeOfTheFactorysClock)
{
    EXPECT_EQ(handle(networkRequest(0x5000, {4})).at(72 / 4), 1700000000U);
}

TEST_F(CmdHandlerImplTest, UnknownIdIsAnsweredWithTheErrorAndTheNextRequestIsServed)
{
    EXPECT_EQ(handle(networkRequest(0x99, {1, 2})), expectedRsp(0x80000000, {8}));
    EXPECT_EQ(handle(networkRequest(0x4000)), expectedRsp(0x80004000, {0}));
}

TEST_F(CmdHandlerImplTest, CommandThatThrowsIsAnsweredWithTheErrorAndTheNextRequestIsServed)
{
    m_level->onTake = [] { throw std::runtime_error("bus is gone"); };
    EXPECT_EQ(handle(networkRequest(0x50, {1, 1, 7, 3, 5})), expectedRsp(0x80000000, {8}));
    EXPECT_EQ(handle(networkRequest(0x4000)), expectedRsp(0x80004000, {0}));
}

TEST_F(CmdHandlerImplTest, UnknownIdIsLoggedEachTimeAndKnownOnesNever)
{
    const testsupport::LogRecorder log;
    handle(networkRequest(0x99));
    handle(networkRequest(0x50, {0}));
    handle(networkRequest(0x99));
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 2U);
    for (const auto& line : lines)
    {
        EXPECT_EQ(line.level, "INFO");
        EXPECT_EQ(line.logger, "KORABRIDGE");
        EXPECT_EQ(line.text, "Unprocessed Cmd: 0x00000099 Unexpected Msg");
    }
}

TEST_F(CmdHandlerImplTest, CutCountsAreLoggedOncePerConnection)
{
    const testsupport::LogRecorder log;
    for (int i = 0; i < 5; ++i)
    {
        handle(networkRequest(0x50, {0xffffffff}));
        handle(networkRequest(0x5e, {1, 1, 0xffffffff}));
    }
    EXPECT_EQ(log.lines().size(), 1U);
    const auto other = m_factory.createCmdHandler(4);
    other->handle(networkRequest(0x50, {0xffffffff}));
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(CmdHandlerImplTest, NothingSeenYetShowsTheHeadingsAlone)
{
    EXPECT_EQ(shown(), "----- Unhandled Cmds -----\n----- Processed Cmds -----\n");
}

TEST_F(CmdHandlerImplTest, CountsUnhandledAndProcessedIdsApart)
{
    handle(networkRequest(0x99));
    handle(networkRequest(0x99));
    handle(networkRequest(0x59));
    EXPECT_EQ(shown(), "----- Unhandled Cmds -----\n"
                       "                      2 0x00000099 Unexpected Msg\n"
                       "----- Processed Cmds -----\n"
                       "                      1 0x00000059 ermcRtrPartionInfo\n");
}

TEST_F(CmdHandlerImplTest, TenKnownIdsSentOnceListTenRowsWithCountOne)
{
    for (const CmdTableEntry& entry : cmdTable())
    {
        handle(networkRequest(entry.msgId));
    }
    const std::string text = shown();
    const std::string processed = text.substr(text.find("----- Processed Cmds -----\n"));
    for (const CmdTableEntry& entry : cmdTable())
    {
        char row[80];
        std::snprintf(row, sizeof(row), "               %8d 0x%08x %s\n", 1, entry.msgId, entry.name);
        EXPECT_NE(processed.find(row), std::string::npos) << row;
    }
    EXPECT_EQ(std::count(processed.begin(), processed.end(), '\n'), 11);
}

TEST_F(CmdHandlerImplTest, NoiseOfManyIdsListsABoundedNumber)
{
    const auto logger = log4cxx::Logger::getLogger("KORABRIDGE");
    logger->setLevel(log4cxx::Level::getOff());
    for (std::uint32_t id = 0x10000; id < 0x10000 + 5000; ++id)
    {
        ASSERT_FALSE(handle(networkRequest(id)).empty());
    }
    logger->setLevel(log4cxx::Level::getAll());
    const std::string text = shown();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4096 + 2);
}

TEST_F(CmdHandlerImplTest, MessageShorterThanAHeaderIsAnsweredWithTheError)
{
    EXPECT_EQ(handle(Bytes{0, 0, 0, 12}), expectedRsp(0x80000000, {8}, 0));
    EXPECT_EQ(handle(Bytes{}), expectedRsp(0x80000000, {8}, 0));
}

TEST_F(CmdHandlerImplTest, CountsMayBeShownWhileCommandsRun)
{
    std::atomic<bool> done{false};
    ::testing::internal::CaptureStdout();
    std::thread console([&] {
        for (int i = 0; i < 20; ++i)
        {
            m_sut->show();
        }
        done = true;
    });
    for (std::uint32_t i = 0; i < 200 || !done; ++i)
    {
        handle(networkRequest(i % 200));
    }
    console.join();
    EXPECT_NE(::testing::internal::GetCapturedStdout(), "");
}

TEST_F(CmdHandlerImplTest, CommandsReturnEverythingToTheirPools)
{
    handle(networkRequest(0x50, {1, 1, 7, 3, 5}));
    const auto before = KoraMessageBuffer::pool().snapshot();
    for (int i = 0; i < 500; ++i)
    {
        handle(networkRequest(0x50, {1, 1, 7, 3, 5}));
    }
    // The apartment may still be deleting the last command: stopping it waits for that.
    m_apartment->stop();
    const auto after = KoraMessageBuffer::pool().snapshot();
    EXPECT_EQ(after.blockCount, before.blockCount);
    EXPECT_EQ(after.available, after.total);
}

TEST_F(CmdHandlerImplTest, SeveralConnectionsGetTheirOwnAnswers)
{
    constexpr std::uint32_t connections = 8;
    constexpr std::uint32_t rounds = 200;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (std::uint32_t connection = 0; connection < connections; ++connection)
    {
        threads.emplace_back([&, connection] {
            const auto sut = m_factory.createCmdHandler(connection);
            for (std::uint32_t round = 0; round < rounds; ++round)
            {
                const std::uint32_t tag = connection << 16U | round;
                const auto rsp = sut->handle(networkRequest(0xa2, {tag}, tag));
                if (rsp == nullptr || networkWordsOf(*rsp) != expectedRsp(0x800000a2, {tag, 0, 1, 0, 0}, tag))
                {
                    ++wrong;
                }
            }
        });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
