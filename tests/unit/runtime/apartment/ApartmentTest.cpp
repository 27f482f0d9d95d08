#include "runtime/apartment/Apartment.h"

#include "runtime/apartment/DoItEvent.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/support/FailingCall.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/runtime/apartment/RecordingEvent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

namespace
{

using com::tallowcrest::apartment::Alarm;
using com::tallowcrest::apartment::Apartment;
using com::tallowcrest::apartment::DoItEvent;
using com::tallowcrest::apartment::EmptyDoItEvent;
using com::tallowcrest::apartment::post;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::waitUntil;

/// An exception that is no std::exception.
struct BareFailure
{};

class ApartmentTest : public testing::Test
{
protected:
    void send(Apartment& apartment, int number, std::function<void()> work = {})
    {
        post(apartment, std::make_unique<RecordingEvent>(number, m_ran, m_deleted, std::move(work)));
    }

    /// Waits until everything sent before has run and is deleted.
    static void drain(Apartment& apartment)
    {
        std::promise<void> reached;
        EventRecord ran;
        EventRecord deleted;
        post(apartment, std::make_unique<RecordingEvent>(0, ran, deleted, [&reached] { reached.set_value(); }));
        reached.get_future().wait();
        ASSERT_TRUE(waitUntil([&deleted] { return !deleted.numbers().empty(); }));
    }

    EventRecord m_ran;
    EventRecord m_deleted;
};

TEST_F(ApartmentTest, newApartmentDoesNotRun)
{
    const Apartment sut("sut");

    EXPECT_FALSE(sut.isRunning());
}

TEST_F(ApartmentTest, eventsRunInTheOrderSentAndAreDeletedAfterwards)
{
    Apartment sut("sut");
    sut.start();

    send(sut, 1);
    send(sut, 2);
    send(sut, 3);
    drain(sut);

    EXPECT_THAT(m_ran.numbers(), ElementsAre(1, 2, 3));
    EXPECT_THAT(m_deleted.numbers(), ElementsAre(1, 2, 3));
}

TEST_F(ApartmentTest, anEventIsDeletedBeforeTheNextOneRuns)
{
    Apartment sut("sut");
    std::vector<int> deletedWhenSecondRan;

    send(sut, 1);
    send(sut, 2, [&] { deletedWhenSecondRan = m_deleted.numbers(); });
    sut.start();
    drain(sut);

    EXPECT_THAT(deletedWhenSecondRan, ElementsAre(1));
}

TEST_F(ApartmentTest, eventsRunOnOneThreadThatIsNotTheSenders)
{
    Apartment sut("sut");
    std::array<std::thread::id, 2> threads;
    sut.start();

    send(sut, 1, [&] { threads[0] = std::this_thread::get_id(); });
    send(sut, 2, [&] { threads[1] = std::this_thread::get_id(); });
    drain(sut);

    EXPECT_EQ(threads[0], threads[1]);
    EXPECT_NE(threads[0], std::this_thread::get_id());
}

TEST_F(ApartmentTest, manySendersKeepTheirOwnOrderAndNothingRunsConcurrently)
{
    constexpr int senders = 4;
    constexpr int eventsPerSender = 500;
    Apartment sut("sut");
    std::array<int, senders> next{}; // not atomic: the thread sanitizer sees events that overlap
    int misplaced = 0;
    sut.start();

    std::vector<std::thread> threads;
    for (std::size_t sender = 0; sender < senders; ++sender)
    {
        threads.emplace_back([&, sender] {
            for (int i = 0; i < eventsPerSender; ++i)
            {
                send(sut, i, [&next, &misplaced, sender, i] { misplaced += next[sender]++ == i ? 0 : 1; });
            }
        });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    drain(sut);

    EXPECT_EQ(misplaced, 0);
    EXPECT_THAT(next, testing::Each(eventsPerSender));
    EXPECT_EQ(m_deleted.numbers().size(), static_cast<std::size_t>(senders * eventsPerSender));
}

TEST_F(ApartmentTest, anEventMaySendFurtherEvents)
{
    Apartment sut("sut");
    std::promise<void> done;

    send(sut, 1, [&] { send(sut, 3, [&] { done.set_value(); }); });
    send(sut, 2);
    sut.start();
    done.get_future().wait();

    EXPECT_THAT(m_ran.numbers(), ElementsAre(1, 2, 3));
    sut.stop();
}

TEST_F(ApartmentTest, anEventSentBeforeTheStartRunsAfterIt)
{
    Apartment sut("sut");

    send(sut, 1);
    EXPECT_THAT(m_ran.numbers(), IsEmpty());
    sut.start();
    drain(sut);

    EXPECT_THAT(m_ran.numbers(), ElementsAre(1));
}

TEST_F(ApartmentTest, secondStartKeepsTheOneThread)
{
    Apartment sut("sut");
    std::array<std::thread::id, 2> threads;
    sut.start();
    send(sut, 1, [&] { threads[0] = std::this_thread::get_id(); });
    drain(sut);

    sut.start(); // a second thread would end the process
    send(sut, 2, [&] { threads[1] = std::this_thread::get_id(); });
    drain(sut);

    EXPECT_EQ(threads[0], threads[1]);
}

TEST_F(ApartmentTest, anIdleApartmentLooksAtItsRunningFlagEveryTenSeconds)
{
    class Observed : public Apartment
    {
    public:
        Observed() : Apartment("sut") {}
        ~Observed() override { stop(); }
        bool isRunning() const override
        {
            ++m_looks;
            return Apartment::isRunning();
        }
        mutable std::atomic<int> m_looks{0};
    };
    Observed sut;
    const auto begin = std::chrono::steady_clock::now();
    sut.start();

    ASSERT_TRUE(waitUntil([&sut] { return sut.m_looks == 2; }, std::chrono::seconds(30)));

    EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9));
}

TEST_F(ApartmentTest, stopWaitsForTheEventThatRuns)
{
    Apartment sut("sut");
    std::promise<void> running;
    std::promise<void> release;
    std::atomic<bool> finished{false};
    sut.start();
    send(sut, 1, [&] {
        running.set_value();
        release.get_future().wait();
        finished = true;
    });
    running.get_future().wait();

    std::thread stopper([&] { sut.stop(); });
    ASSERT_TRUE(waitUntil([&] { return !sut.isRunning(); }));
    EXPECT_FALSE(finished);
    release.set_value();
    stopper.join();

    EXPECT_TRUE(finished);
}

TEST_F(ApartmentTest, eventsBehindTheRunningOneStayQueuedWhenStopped)
{
    Apartment sut("sut");
    std::promise<void> running;
    std::promise<void> release;
    sut.start();
    send(sut, 1, [&] {
        running.set_value();
        release.get_future().wait();
    });
    running.get_future().wait();
    send(sut, 2);

    std::thread stopper([&] { sut.stop(); });
    ASSERT_TRUE(waitUntil([&] { return !sut.isRunning(); }));
    release.set_value();
    stopper.join();

    EXPECT_THAT(m_ran.numbers(), ElementsAre(1));
    EXPECT_THAT(m_deleted.numbers(), ElementsAre(1));
}

TEST_F(ApartmentTest, leftoverEventsRunAfterARestart)
{
    Apartment sut("sut");
    sut.start();
    sut.stop();
    send(sut, 1);

    sut.start();
    drain(sut);

    EXPECT_TRUE(sut.isRunning());
    EXPECT_THAT(m_ran.numbers(), ElementsAre(1));
}

TEST_F(ApartmentTest, stopWithoutStartAndTwiceDoesNothing)
{
    Apartment sut("sut");

    sut.stop();
    EXPECT_FALSE(sut.isRunning());
    sut.start();
    sut.stop();
    sut.stop();

    EXPECT_FALSE(sut.isRunning());
}

TEST_F(ApartmentTest, theDestructorDeletesLeftoverEventsInOrderWithoutRunningThem)
{
    {
        Apartment sut("sut");
        send(sut, 1);
        send(sut, 2);
        send(sut, 3);
    }

    EXPECT_THAT(m_ran.numbers(), IsEmpty());
    EXPECT_THAT(m_deleted.numbers(), ElementsAre(1, 2, 3));
}

/// Sends another event when it is deleted.
class SendsWhenDeleted final : public DoItEvent
{
public:
    SendsWhenDeleted(Apartment& apartment, EventRecord& ran, EventRecord& deleted)
        : m_apartment(apartment), m_ran(ran), m_deleted(deleted)
    {}
    ~SendsWhenDeleted() override { post(m_apartment, std::make_unique<RecordingEvent>(9, m_ran, m_deleted)); }
    void doIt() override {}

private:
    Apartment& m_apartment;
    EventRecord& m_ran;
    EventRecord& m_deleted;
};

TEST_F(ApartmentTest, anEventMaySendAnotherOneWhileTheLoopDeletesIt)
{
    Apartment sut("sut");
    sut.start();

    post(sut, std::make_unique<SendsWhenDeleted>(sut, m_ran, m_deleted));

    EXPECT_TRUE(waitUntil([&] { return !m_deleted.numbers().empty(); }));
    EXPECT_THAT(m_ran.numbers(), ElementsAre(9));
}

TEST_F(ApartmentTest, anEventMaySendAnotherOneWhileTheDestructorDeletesIt)
{
    {
        Apartment sut("sut");
        post(sut, std::make_unique<SendsWhenDeleted>(sut, m_ran, m_deleted));
    }

    EXPECT_THAT(m_ran.numbers(), IsEmpty());
    EXPECT_THAT(m_deleted.numbers(), ElementsAre(9));
}

TEST_F(ApartmentTest, aThrowingEventIsLoggedAndDeletedAndTheNextOneRuns)
{
    const testsupport::LogRecorder log;
    Apartment sut("sut");
    sut.start();

    send(sut, 1, [] { throw std::runtime_error("output 7 is on fire"); });
    send(sut, 2);
    drain(sut);

    EXPECT_THAT(m_ran.numbers(), ElementsAre(1, 2));
    EXPECT_THAT(m_deleted.numbers(), ElementsAre(1, 2));
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].logger, "KORABRIDGE");
    EXPECT_EQ(lines[0].level, "ERROR");
    EXPECT_THAT(lines[0].text, testing::HasSubstr("output 7 is on fire"));
    EXPECT_EQ(lines[0].file, "DoItEvent.cpp");
    EXPECT_GT(lines[0].line, 0);
}

TEST_F(ApartmentTest, anythingThrownIsLoggedAndTheLoopGoesOn)
{
    const testsupport::LogRecorder log;
    Apartment sut("sut");
    sut.start();

    send(sut, 1, [] { throw BareFailure(); });
    send(sut, 2);
    drain(sut);

    EXPECT_THAT(m_ran.numbers(), ElementsAre(1, 2));
    EXPECT_THAT(m_deleted.numbers(), ElementsAre(1, 2));
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].level, "ERROR");
    EXPECT_THAT(lines[0].text, testing::HasSubstr("unknown exception"));
}

TEST_F(ApartmentTest, anAlarmThatIsDueRingsOnTheThreadOfAnIdleApartment)
{
    Apartment sut("sut");
    std::promise<std::thread::id> rung;
    Alarm alarm(sut.alarmClock(), [&rung] { rung.set_value(std::this_thread::get_id()); });
    std::thread::id own;
    std::chrono::steady_clock::time_point due;
    sut.start();

    send(sut, 1, [&] {
        own = std::this_thread::get_id();
        due = alarm.now() + std::chrono::milliseconds(20);
        alarm.set(due);
    });

    auto ring = rung.get_future();
    ASSERT_EQ(ring.wait_for(std::chrono::seconds(9)), std::future_status::ready) << "not by its wait of ten seconds";
    EXPECT_GE(std::chrono::steady_clock::now(), due);
    EXPECT_EQ(ring.get(), own);
    sut.stop();
}

TEST_F(ApartmentTest, anAlarmRingsBetweenEventsThatDoNotEnd)
{
    Apartment sut("sut");
    std::atomic<bool> isRung{false};
    Alarm alarm(sut.alarmClock(), [&isRung] { isRung = true; });
    std::function<void()> again = [&] {
        if (!isRung)
        {
            send(sut, 2, again);
        }
    };
    sut.start();

    send(sut, 1, [&] {
        alarm.set(alarm.now() + std::chrono::milliseconds(20));
        again();
    });

    EXPECT_TRUE(waitUntil([&isRung] { return isRung.load(); }));
    isRung = true;
    drain(sut);
    sut.stop();
}

TEST_F(ApartmentTest, anAlarmThatThrowsIsLoggedAndTheLoopGoesOn)
{
    const testsupport::LogRecorder log;
    Apartment sut("sut");
    Alarm alarm(sut.alarmClock(), [] { throw std::runtime_error("output 7 is on fire"); });
    sut.start();

    send(sut, 1, [&] { alarm.set(alarm.now()); });
    EXPECT_TRUE(log.waitFor("ERROR Apartment event failed, output 7 is on fire"));
    send(sut, 2);
    drain(sut);

    EXPECT_THAT(m_ran.numbers(), ElementsAre(1, 2));
    sut.stop();
}

TEST_F(ApartmentTest, theThreadBearsTheNameCutToFifteenCharacters)
{
    Apartment sut("Bridge Apartment");
    std::array<char, 16> name{};
    sut.start();

    send(sut, 1, [&] { pthread_getname_np(pthread_self(), name.data(), name.size()); });
    drain(sut);

    EXPECT_STREQ(name.data(), "Bridge Apartmen");
}

TEST_F(ApartmentTest, postDeletesTheEventWhenSendingThrows)
{
    FakeApartment sut(FakeApartment::Sent::IsRefused);

    EXPECT_THROW(post(sut, std::make_unique<RecordingEvent>(1, m_ran, m_deleted)), std::runtime_error);

    EXPECT_THAT(m_deleted.numbers(), ElementsAre(1));
}

TEST_F(ApartmentTest, anEmptyEventChangesNothing)
{
    Apartment sut("sut");
    sut.start();

    post(sut, std::make_unique<EmptyDoItEvent>());
    drain(sut);

    EXPECT_TRUE(sut.isRunning());
}

TEST_F(ApartmentTest, withoutAThreadTheStartThrowsAndALaterOneSucceeds)
{
    Apartment sut("sut");
    const auto error = testsupport::errorWithoutAThread([&] { sut.start(); });

    if (!error)
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    EXPECT_EQ(*error, EAGAIN);
    EXPECT_FALSE(sut.isRunning());
    sut.start();
    EXPECT_TRUE(sut.isRunning());
    drain(sut);
}

} // namespace
