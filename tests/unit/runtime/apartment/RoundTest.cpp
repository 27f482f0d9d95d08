#include "runtime/apartment/Round.h"

#include "runtime/apartment/Apartment.h"
#include "tests/support/LogRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using com::tallowcrest::apartment::Apartment;
using com::tallowcrest::apartment::DoItEvent;
using com::tallowcrest::apartment::post;
using com::tallowcrest::apartment::Round;
using com::tallowcrest::apartment::RoundBracket;
using testing::ElementsAre;

/// What happened, in order. Written by one thread and read when that is done.
using Diary = std::vector<std::string>;

class Bracket final : public RoundBracket
{
public:
    explicit Bracket(Diary& diary) : m_diary(diary) {}
    void begin() noexcept override { m_diary.emplace_back("begin"); }
    void end() noexcept override { m_diary.emplace_back("end"); }

private:
    Diary& m_diary;
};

class Event final : public DoItEvent
{
public:
    enum class Length
    {
        Brief,
        Long
    };
    Event(
        Length length, std::function<void()> work, std::function<void()> afterwards = [] {})
        : m_work(std::move(work)), m_afterwards(std::move(afterwards))
    {
        if (length == Length::Brief)
        {
            setBrief();
        }
    }
    void doIt() override { m_work(); }
    void afterRound() override { m_afterwards(); }
    void setWaiter(const void* waiter) { DoItEvent::setWaiter(waiter); }

private:
    std::function<void()> m_work;
    std::function<void()> m_afterwards;
};

class RoundTest : public testing::Test
{
protected:
    std::function<void()> note(const std::string& text)
    {
        return [this, text] { m_diary.push_back(text); };
    }
    /// An event that notes its name, and that the round is over.
    void send(const std::string& name, Event::Length length)
    {
        post(m_apartment, std::make_unique<Event>(length, note(name), note(name + " later")));
    }
    /// Runs what has been sent.
    void runAll()
    {
        std::promise<std::size_t> done;
        post(m_apartment,
             std::make_unique<Event>(Event::Length::Long, [this, &done] { done.set_value(m_diary.size() - 1); }));
        m_apartment.start();
        const std::size_t length = done.get_future().get();
        m_apartment.stop();
        m_diary.resize(length); // what follows is of the round that this took
    }

    static constexpr auto brief = Event::Length::Brief;
    static constexpr auto lengthy = Event::Length::Long;

    Diary m_diary;
    Apartment m_apartment{"sut", std::make_shared<Bracket>(m_diary)};
};

TEST_F(RoundTest, ThereIsNoneOutsideAnApartment)
{
    EXPECT_EQ(Round::current(), nullptr);
}

TEST_F(RoundTest, BriefEventsThatWaitTogetherShareARoundAndTheirSecondHalvesComeAfterItsEnd)
{
    send("a", brief);
    send("b", brief);

    runAll();

    EXPECT_THAT(m_diary, ElementsAre("begin", "a", "b", "end", "a later", "b later"));
}

TEST_F(RoundTest, AnEventThatIsNotBriefHasARoundOfItsOwnAndNobodyWaitsForIt)
{
    send("a", brief);
    send("b", lengthy);
    send("c", brief);

    runAll();

    EXPECT_THAT(m_diary, ElementsAre("begin", "a", "end", "a later", "begin", "b", "end", "b later", "begin", "c",
                                     "end", "c later"));
}

TEST_F(RoundTest, ARoundHoldsSoManyEventsAndNoMore)
{
    for (std::size_t i = 0; i < Round::maxEvents + 1; ++i)
    {
        post(m_apartment, std::make_unique<Event>(brief, [] {}));
    }

    runAll();

    EXPECT_THAT(m_diary, ElementsAre("begin", "end", "begin", "end"));
}

TEST_F(RoundTest, TellsOnceThatSomebodyWhoWaitedHasBeenAnswered)
{
    Round sut(nullptr);
    sut.run(std::make_unique<Event>(brief, [] {}));
    sut.end();
    EXPECT_FALSE(sut.takeHasAnswered());

    auto awaited = std::make_unique<Event>(brief, [] {});
    awaited->setWaiter(this);
    sut.run(std::move(awaited));
    EXPECT_FALSE(sut.takeHasAnswered());
    sut.end();
    EXPECT_TRUE(sut.takeHasAnswered());
    EXPECT_FALSE(sut.takeHasAnswered());
}

TEST_F(RoundTest, EventIsKeptUntilItsSecondHalfHasRunAndNoLonger)
{
    const auto held = std::make_shared<int>();
    Round sut(nullptr);
    long countAfterwards = 0;
    sut.run(std::make_unique<Event>(
        brief, [held] {}, [&] { countAfterwards = held.use_count(); }));
    EXPECT_EQ(held.use_count(), 2);

    sut.end();

    EXPECT_EQ(countAfterwards, 2);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(RoundTest, ASecondHalfWaitsForNothingThatComesLater)
{
    // The apartment has nothing more to do, so the round ends although no further event comes.
    std::promise<void> heard;
    post(m_apartment, std::make_unique<Event>(
                          brief, [] {}, [&heard] { heard.set_value(); }));

    m_apartment.start();

    EXPECT_EQ(heard.get_future().wait_for(std::chrono::seconds(5)), std::future_status::ready);
    m_apartment.stop();
}

TEST_F(RoundTest, AnExceptionEndsNeitherTheRoundNorASecondHalf)
{
    const testsupport::LogRecorder log;
    post(m_apartment, std::make_unique<Event>(
                          brief, [] { throw std::runtime_error("event"); }, note("later")));
    post(m_apartment, std::make_unique<Event>(brief, note("a"), [] { throw std::runtime_error("later"); }));
    send("b", brief);

    runAll();

    EXPECT_THAT(m_diary, ElementsAre("begin", "a", "b", "end", "later", "b later"));
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(RoundTest, SecondHalvesRunOutsideTheRound)
{
    const Round* inside = nullptr;
    const Round* outside = nullptr;
    post(m_apartment, std::make_unique<Event>(
                          brief, [&inside] { inside = Round::current(); },
                          [&outside, &inside] {
                              ASSERT_NE(inside, nullptr);
                              outside = Round::current();
                          }));

    runAll();

    EXPECT_NE(inside, nullptr);
    EXPECT_EQ(outside, nullptr);
}

TEST_F(RoundTest, StopEndsTheRoundThatIsUnderWay)
{
    std::promise<void> running;
    std::promise<void> release;
    post(m_apartment, std::make_unique<Event>(
                          brief,
                          [&] {
                              running.set_value();
                              release.get_future().wait();
                          },
                          note("later")));
    m_apartment.start();
    running.get_future().wait();
    post(m_apartment, std::make_unique<Event>(brief, [] {}));
    std::thread stopper([this] { m_apartment.stop(); });
    while (m_apartment.isRunning())
    {
        std::this_thread::yield();
    }

    release.set_value();
    stopper.join();

    EXPECT_THAT(m_diary, ElementsAre("begin", "end", "later"));
}

} // namespace
