#include "koracommand/CmdHandlerImpl.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/koracommand/CmdHandlerFixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <new>
#include <thread>

namespace
{

using namespace std::chrono_literals;
namespace apartment = com::tallowcrest::apartment;

/// Generous for a loaded machine; the handler itself gives up after about 600 milliseconds.
constexpr auto deadline = 10s;

/// An apartment that cannot take events: no memory.
class FullApartment final : public apartment::Apartment
{
public:
    using Apartment::Apartment;
    void send(apartment::DoItEvent* event) override
    {
        if (full)
        {
            throw std::bad_alloc();
        }
        Apartment::send(event);
    }
    std::atomic<bool> full{false};
};

/// Holds up the apartment until the test lets it go.
class Gate
{
public:
    ~Gate() { open(); }
    void open()
    {
        if (!m_opened.exchange(true))
        {
            m_open.set_value();
        }
    }
    void pass()
    {
        m_reached.set_value();
        m_mayPass.wait();
    }
    void waitUntilReached() { m_reached.get_future().wait(); }

private:
    std::promise<void> m_reached;
    std::promise<void> m_open;
    std::shared_future<void> m_mayPass = m_open.get_future().share();
    std::atomic<bool> m_opened{false};
};

class CmdHandlerStopTest : public CmdHandlerFixture
{
protected:
    std::future<Words> handleInBackground(Bytes message)
    {
        return std::async(std::launch::async, [this, message = std::move(message)] { return handle(message); });
    }
};

TEST_F(CmdHandlerStopTest, WithoutAnApartmentThereIsNoResponse)
{
    apartment::resetBridgeApartment();
    EXPECT_TRUE(handle(networkRequest(0x4000)).empty());
}

TEST_F(CmdHandlerStopTest, WithAStoppedApartmentThereIsNoResponse)
{
    m_apartment->stop();
    EXPECT_TRUE(handle(networkRequest(0x4000)).empty());
}

TEST_F(CmdHandlerStopTest, ServesAgainOnceTheApartmentRunsAgain)
{
    m_apartment->stop();
    handle(networkRequest(0x4000, {}, 1));
    m_apartment->start();
    EXPECT_EQ(handle(networkRequest(0x4000, {}, 2)), expectedRsp(0x80004000, {0}, 2));
}

TEST_F(CmdHandlerStopTest, RequestsAreCountedEvenWithoutAnApartment)
{
    apartment::resetBridgeApartment();
    handle(networkRequest(0x4000));
    ::testing::internal::CaptureStdout();
    m_sut->show();
    EXPECT_NE(::testing::internal::GetCapturedStdout().find("1 0x00004000 ermcPortPresent"), std::string::npos);
}

TEST_F(CmdHandlerStopTest, CommandThatFinishesWhileTheApartmentStopsIsStillAnswered)
{
    Gate gate;
    m_level->onTake = [&] { gate.pass(); };
    auto answer = handleInBackground(networkRequest(0x50, {1, 1, 7, 3, 5}));
    gate.waitUntilReached();
    auto stopped = std::async(std::launch::async, [&] { m_apartment->stop(); });
    ASSERT_TRUE(testsupport::waitUntil([&] { return !m_apartment->isRunning(); }));
    gate.open();
    ASSERT_EQ(answer.wait_for(testsupport::scaled(deadline)), std::future_status::ready);
    EXPECT_EQ(answer.get(), expectedRsp(0x80000050, {1, 0}));
}

TEST_F(CmdHandlerStopTest, CommandStillQueuedWhenTheApartmentStopsIsGivenUp)
{
    Gate gate;
    m_level->onTake = [&] { gate.pass(); };
    const auto blocker = m_factory.createCmdHandler(4);
    auto blocked = std::async(std::launch::async, [&] {
        return blocker->handle(networkRequest(0x50, {1, 1, 7, 3, 5})) != nullptr;
    });
    gate.waitUntilReached();
    const auto inUse = KoraMessageBuffer::pool().snapshot().available;
    auto answer = handleInBackground(networkRequest(0x4000));
    ASSERT_TRUE(testsupport::waitUntil([&] { return KoraMessageBuffer::pool().snapshot().available < inUse; }));
    auto stopped = std::async(std::launch::async, [&] { m_apartment->stop(); });
    ASSERT_TRUE(testsupport::waitUntil([&] { return !m_apartment->isRunning(); }));

    ASSERT_EQ(answer.wait_for(testsupport::scaled(deadline)), std::future_status::ready)
        << "the connection waits for ever";
    EXPECT_TRUE(answer.get().empty());
    gate.open();
    stopped.get();
}

TEST_F(CmdHandlerStopTest, LateResponseNeverAnswersALaterRequest)
{
    Gate gate;
    m_level->onTake = [&] { gate.pass(); };
    auto answer = handleInBackground(networkRequest(0x50, {1, 1, 7, 3, 5}, 1));
    gate.waitUntilReached();
    auto stopped = std::async(std::launch::async, [&] { m_apartment->stop(); });
    ASSERT_EQ(answer.wait_for(testsupport::scaled(deadline)), std::future_status::ready);
    EXPECT_TRUE(answer.get().empty());

    gate.open();
    stopped.get();
    m_apartment->start();
    EXPECT_EQ(handle(networkRequest(0xa2, {9}, 2)), expectedRsp(0x800000a2, {9, 0, 1, 0, 0}, 2));
}

TEST_F(CmdHandlerStopTest, ApartmentWithoutMemoryForTheEventGivesNoResponseThatTimeOnly)
{
    const testsupport::LogRecorder log;
    const auto full = std::make_shared<FullApartment>("Full Apartment");
    full->start();
    apartment::setBridgeApartment(full);
    full->full = true;
    EXPECT_TRUE(handle(networkRequest(0x4000)).empty());
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].level, "ERROR");

    full->full = false;
    EXPECT_EQ(handle(networkRequest(0x4000)), expectedRsp(0x80004000, {0}));
    full->stop();
    apartment::resetBridgeApartment();
}

} // namespace
