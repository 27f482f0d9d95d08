#include "dds/dds.hpp"
#include "durability/CompanionPort.h"
#include "durability/RecentRows.h"
#include "durability/Store.h"
#include "tests/support/BusCalls.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TempDir.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/durability/OtherParticipant.h"
#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

using namespace com::tallowcrest::durability;

namespace
{

/// One process of the router as the bus sees it: a participant with a store, a writer of targets, and the reading of
/// history as a bridge does it at its join.
class Bridge
{
public:
    using Targets = std::map<std::uint32_t, std::uint32_t>; ///< inputs by output

    explicit Bridge(const std::filesystem::path& store, const std::string& partition = "R1") : m_partition(partition)
    {
        // Read when the first PERSISTENT writer is made.
        ::setenv("KORABRIDGE_DURABLE_STORE", store.c_str(), 1);
        m_writer = makeWriter();
    }

    void take(std::uint32_t number, std::uint32_t input, std::uint32_t when = 1)
    {
        m_writer.write(output(number, input, when));
    }
    void takeAt(std::uint32_t number, std::uint32_t input, const dds::core::Time& written)
    {
        m_writer.write(output(number, input, 1), written);
    }
    dds::sub::DataReader<Output> makeReader() const
    {
        dds::sub::qos::SubscriberQos qos;
        qos << dds::core::policy::Partition(m_partition);
        return {dds::sub::Subscriber(m_participant, qos), topic(), dds::sub::qos::DataReaderQos(topic().qos())};
    }
    void dispose(std::uint32_t number) { m_writer.dispose_instance(m_writer.register_instance(output(number, 0))); }
    /// What waiting for history gives now, only looked at.
    Targets known() const
    {
        auto reader = makeReader();
        reader.wait_for_historical_data(dds::core::Duration::from_secs(20));
        return read(reader);
    }
    static Targets read(dds::sub::DataReader<Output>& reader)
    {
        Targets targets;
        for (const auto& sample : reader.read())
        {
            if (sample.info().valid())
            {
                targets[sample.data().macroXptOutput] = sample.data().macroXptInput;
            }
        }
        return targets;
    }
    /// Waits for history and publishes it again with another time of effect.
    Targets join()
    {
        auto reader = makeReader();
        reader.wait_for_historical_data(dds::core::Duration::from_secs(20));
        return publishAgain(reader);
    }
    Targets publishAgain(dds::sub::DataReader<Output>& reader)
    {
        Targets targets;
        for (const auto& sample : reader.take())
        {
            if (sample.info().valid())
            {
                targets[sample.data().macroXptOutput] = sample.data().macroXptInput;
                take(sample.data().macroXptOutput, sample.data().macroXptInput, 99);
            }
        }
        return targets;
    }
    /// What waiting for history gives now.
    Targets history() const
    {
        auto reader = makeReader();
        reader.wait_for_historical_data(dds::core::Duration::from_secs(20));
        Targets targets;
        for (const auto& sample : reader.take())
        {
            targets[sample.data().macroXptOutput] = sample.data().macroXptInput;
        }
        return targets;
    }
    bool waitForHistory(const Targets& targets) const
    {
        return testsupport::waitUntil([&] { return history() == targets; });
    }

private:
    dds::topic::Topic<Output> topic() const
    {
        dds::topic::qos::TopicQos qos;
        qos << dds::core::policy::Durability::Persistent() << dds::core::policy::Reliability::Reliable();
        return {m_participant, "TopicTarget", qos};
    }
    dds::pub::DataWriter<Output> makeWriter() const
    {
        dds::pub::qos::PublisherQos qos;
        qos << dds::core::policy::Partition(m_partition);
        return {dds::pub::Publisher(m_participant, qos), topic(), dds::pub::qos::DataWriterQos(topic().qos())};
    }

    const std::string m_partition;
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    dds::pub::DataWriter<Output> m_writer{dds::core::null};
};

class DurableTargetsTest : public testing::Test
{
protected:
    std::filesystem::path store(const std::string& name) const { return m_directory.path() / (name + ".db"); }
    std::unique_ptr<Bridge> bridge(const std::string& name, const std::string& partition = "R1") const
    {
        return std::make_unique<Bridge>(store(name), partition);
    }
    /// One that has read its store and meets the others, however slow the disk is.
    std::unique_ptr<Bridge> liveBridge(const std::string& name) const
    {
        auto live = bridge(name);
        live->known();
        return live;
    }

    testsupport::TempDir m_directory;
};

} // namespace

TEST_F(DurableTargetsTest, NobodyAndNothingGivesNothing)
{
    EXPECT_EQ(bridge("a")->join(), Bridge::Targets{});
}

TEST_F(DurableTargetsTest, LastValueOutlivesTheProcess)
{
    {
        const auto first = bridge("a");
        first->take(7, 4);
        first->take(7, 5);
        first->take(8, 6);
    }

    EXPECT_EQ(bridge("a")->join(), (Bridge::Targets{{7, 5}, {8, 6}}));
}

TEST_F(DurableTargetsTest, OwnTakesAreThereBeforeTheyAreStored)
{
    const auto sut = bridge("a");

    sut->take(7, 5);

    EXPECT_EQ(sut->history(), (Bridge::Targets{{7, 5}}));
}

TEST_F(DurableTargetsTest, PartitionsAreApart)
{
    {
        bridge("a", "R1")->take(7, 5);
    }

    EXPECT_EQ(bridge("a", "R2")->join(), Bridge::Targets{});
    EXPECT_EQ(bridge("a", "R1")->join(), (Bridge::Targets{{7, 5}}));
}

TEST_F(DurableTargetsTest, LiveParticipantHandsOverWhatItHas)
{
    const auto live = liveBridge("live");
    live->take(7, 5);

    EXPECT_EQ(bridge("fresh")->join(), (Bridge::Targets{{7, 5}}));
}

TEST_F(DurableTargetsTest, NewerOfStoreAndLiveParticipantWins)
{
    {
        bridge("away")->take(7, 1);
    }
    const auto live = liveBridge("live");
    live->take(7, 2);
    live->take(8, 3);

    const auto back = bridge("away");

    EXPECT_EQ(back->join(), (Bridge::Targets{{7, 2}, {8, 3}}));
    EXPECT_TRUE(live->waitForHistory({{7, 2}, {8, 3}}));
}

TEST_F(DurableTargetsTest, StoredValueWinsOverAnOlderOneOfALiveParticipant)
{
    const auto live = liveBridge("live");
    live->take(7, 1);
    {
        const auto other = bridge("other");
        other->join();
        other->take(7, 2);
    }

    EXPECT_EQ(bridge("other")->join(), (Bridge::Targets{{7, 2}}));
}

TEST_F(DurableTargetsTest, FreshParticipantGetsWhatALiveOneRecordedOfOneThatIsGone)
{
    const auto live = liveBridge("live");
    {
        const auto gone = bridge("gone");
        gone->join();
        gone->take(7, 5);
        ASSERT_TRUE(live->waitForHistory({{7, 5}}));
    }

    EXPECT_EQ(bridge("fresh")->join(), (Bridge::Targets{{7, 5}}));
}

TEST_F(DurableTargetsTest, WhatIsHeardOfOthersOutlivesTheProcessAsWhatIsTakenHereDoes)
{
    const auto live = bridge("live");
    const auto other = bridge("other");
    const std::filesystem::path memory = RecentRows::fileOf(store("live"));
    ASSERT_TRUE(live->waitForHistory({}));

    other->take(7, 5);
    ASSERT_TRUE(live->waitForHistory({{7, 5}}));

    EXPECT_TRUE(testsupport::waitUntil([&] {
        return testsupport::readFile(memory).find("\"macroXptInput\":5") != std::string::npos;
    })) << testsupport::readFile(memory);
}

TEST_F(DurableTargetsTest, PublishingHistoryAgainNeverHidesWhatIsSetMeanwhile)
{
    {
        bridge("away")->take(7, 1);
    }
    const auto live = liveBridge("live");
    const auto back = bridge("away");
    auto reader = back->makeReader();
    reader.wait_for_historical_data(dds::core::Duration::from_secs(20));
    live->take(7, 2); // seen by nobody yet

    back->publishAgain(reader);

    EXPECT_TRUE(back->waitForHistory({{7, 2}}));
    EXPECT_TRUE(live->waitForHistory({{7, 2}}));
}

TEST_F(DurableTargetsTest, PublishingHistoryAgainIsNoNewDecision)
{
    {
        bridge("a")->take(7, 5, 1);
    }
    const auto before = Store(store("a")).load();

    EXPECT_EQ(bridge("a")->join(), (Bridge::Targets{{7, 5}}));

    EXPECT_EQ(Store(store("a")).load(), before);
}

TEST_F(DurableTargetsTest, TakeAfterTheJoinIsANewDecision)
{
    {
        bridge("a")->take(7, 5);
    }
    {
        const auto sut = bridge("a");
        sut->join();
        sut->take(7, 5);
        sut->take(7, 6);
    }

    EXPECT_EQ(bridge("a")->join(), (Bridge::Targets{{7, 6}}));
}

TEST_F(DurableTargetsTest, RowFromAClockFarAheadDoesNotFreezeItsInstance)
{
    {
        bridge("a")->take(7, 5);
    }
    auto rows = Store(store("a")).load();
    ASSERT_EQ(rows.size(), 1U);
    for (const SourceTime absurd : {latestBelieved - 1, INT64_MAX})
    {
        rows[0].written = absurd;
        Store(store("a")).commit(rows);
        {
            const auto sut = bridge("a");
            sut->join();
            sut->take(7, 6);
        }
        EXPECT_EQ(bridge("a")->join(), (Bridge::Targets{{7, 6}}));
    }
}

TEST_F(DurableTargetsTest, RowsThatMakeNoSenseAreLeftOutAndTheOthersUsed)
{
    {
        const auto sut = bridge("a");
        sut->take(7, 5);
        sut->take(8, 6);
        sut->take(9, 7);
    }
    auto rows = Store(store("a")).load();
    rows[0].payload = "{\"macroXptOutput\":7}";
    rows[1].payload = rows[2].payload; // names another instance
    Store(store("a")).commit(rows);

    EXPECT_EQ(bridge("a")->join(), (Bridge::Targets{{9, 7}}));
}

TEST_F(DurableTargetsTest, AFullTableIsHandedOverWithinASecond)
{
    const auto live = liveBridge("live");
    Bridge::Targets all;
    for (std::uint32_t i = 1; i <= 2592; ++i)
    {
        live->take(i, i);
        all[i] = i;
    }
    ASSERT_TRUE(live->waitForHistory(all));
    const auto fresh = bridge("fresh");

    testsupport::StallMeter stalls;
    const auto took = stalls.workedDuring([&] { EXPECT_EQ(fresh->join(), all); });

    EXPECT_LE(took, testsupport::scaled(std::chrono::seconds(1)));
}

TEST_F(DurableTargetsTest, WithoutAStoreTheParticipantsStillHelpEachOther)
{
    testsupport::writeFile(m_directory.path() / "file", "in the way of a directory");
    const auto live = std::make_unique<Bridge>(m_directory.path() / "file" / "live.db");
    live->take(7, 5);

    EXPECT_EQ(bridge("fresh")->join(), (Bridge::Targets{{7, 5}}));
    EXPECT_EQ(live->history(), (Bridge::Targets{{7, 5}}));
}

TEST_F(DurableTargetsTest, HistoryThatWasOnlyLookedAtCanBeTakenWithWhatCameSince)
{
    {
        const auto gone = bridge("a");
        gone->take(7, 1);
        gone->take(8, 2);
    }
    const auto live = liveBridge("live");
    const auto sut = bridge("a");
    auto reader = sut->makeReader();
    reader.wait_for_historical_data(dds::core::Duration::from_secs(20));
    EXPECT_EQ(Bridge::read(reader), (Bridge::Targets{{7, 1}, {8, 2}}));

    live->take(7, 3);
    live->take(9, 4);

    const Bridge::Targets all{{7, 3}, {8, 2}, {9, 4}};
    EXPECT_TRUE(testsupport::waitUntil([&] { return Bridge::read(reader) == all; }));
    EXPECT_EQ(reader.take().length(), all.size());
    EXPECT_EQ(reader.take().length(), 0U);
}

TEST_F(DurableTargetsTest, InstanceThatWentIsSeenBehindTheHistory)
{
    {
        bridge("a")->take(7, 1);
    }
    const auto sut = bridge("a");
    const auto live = liveBridge("live");
    auto reader = sut->makeReader();
    reader.wait_for_historical_data(dds::core::Duration::from_secs(20));
    live->take(9, 4);
    ASSERT_TRUE(testsupport::waitUntil([&] { return Bridge::read(reader) == Bridge::Targets{{7, 1}, {9, 4}}; }));
    const auto gone = [&] {
        std::vector<std::uint32_t> numbers;
        for (const auto& sample : reader.read())
        {
            if (!sample.info().valid())
            {
                numbers.push_back(sample.data().macroXptOutput);
            }
        }
        return numbers;
    };
    ASSERT_TRUE(gone().empty());

    live->dispose(9);

    EXPECT_TRUE(testsupport::waitUntil([&] { return gone() == std::vector<std::uint32_t>{9}; }));
    EXPECT_EQ(Bridge::read(reader).at(7), 1U);
}

TEST_F(DurableTargetsTest, HistoryThatWasOvertakenIsNotPublishedAgain)
{
    {
        bridge("away")->take(7, 1);
    }
    const auto live = liveBridge("live");
    const auto back = bridge("away");
    auto reader = back->makeReader();
    reader.wait_for_historical_data(dds::core::Duration::from_secs(20));
    ASSERT_EQ(reader.take().length(), 1U);
    live->take(7, 2);
    ASSERT_TRUE(testsupport::waitUntil([&] { return back->known() == Bridge::Targets{{7, 2}}; }));

    back->take(7, 1, 99);

    EXPECT_EQ(back->known(), (Bridge::Targets{{7, 2}}));
    EXPECT_TRUE(live->waitForHistory({{7, 2}}));
}

TEST_F(DurableTargetsTest, ValueWrittenWithATimeOfItsOwnIsKeptWithThatTime)
{
    constexpr std::int64_t microseconds = 1'600'000'000'000'000;
    {
        const auto sut = bridge("a");
        sut->takeAt(7, 5, dds::core::Time(microseconds * 1000));
    }

    const auto rows = Store(store("a")).load();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].written, microseconds);
    EXPECT_EQ(bridge("a")->join(), (Bridge::Targets{{7, 5}}));
}

TEST_F(DurableTargetsTest, ParticipantThatHandsOverLessThanItAnnouncedIsWaitedForThreeSecondsAndWarnedOf)
{
    testsupport::LogRecorder log;
    OtherParticipant silent(5);
    silent.handOver(8, 6);
    const auto sut = bridge("a");
    testsupport::StallMeter stalls;
    const auto begin = std::chrono::steady_clock::now();

    const auto worked = stalls.workedDuring([&] { EXPECT_EQ(sut->join(), (Bridge::Targets{{8, 6}})); });

    EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    EXPECT_LT(worked, testsupport::scaled(std::chrono::seconds(10)));
    EXPECT_EQ(log.takeTexts(),
              std::vector<std::string>{"WARN Durable topic TopicTarget in R1: 1 other bridges are silent and no longer "
                                       "waited for"});
}

TEST_F(DurableTargetsTest, HistoryThatDoesNotComeInTimeIsATimeoutAndWhatIsThereIsGiven)
{
    const OtherParticipant silent(5);
    const auto sut = bridge("a");
    sut->take(7, 5);
    auto reader = sut->makeReader();

    EXPECT_THROW(reader.wait_for_historical_data(dds::core::Duration::from_secs(1)), dds::core::TimeoutError);

    EXPECT_EQ(Bridge::read(reader), (Bridge::Targets{{7, 5}}));
}

TEST_F(DurableTargetsTest, ValueThatTheBusRefusesIsNotKept)
{
    {
        testsupport::BusCalls bus;
        const auto sut = bridge("a");
        sut->take(7, 5);
        bus.failWrites("TopicTarget", DDS_RETCODE_TIMEOUT);

        EXPECT_THROW(sut->take(7, 6), dds::core::TimeoutError);
        EXPECT_THROW(sut->takeAt(8, 6, dds::core::Time(1'600'000'000'000'000'000)), dds::core::TimeoutError);

        EXPECT_EQ(sut->history(), (Bridge::Targets{{7, 5}}));
        bus.failWrites("TopicTarget", DDS_RETCODE_OK);
        sut->take(9, 7);
    }

    EXPECT_EQ(bridge("a")->join(), (Bridge::Targets{{7, 5}, {9, 7}}));
}
