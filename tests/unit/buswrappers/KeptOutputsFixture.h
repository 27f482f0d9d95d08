#pragma once

#include "buswrappers/DurableXptOutputPub.h"
#include "durability/RecentRows.h"
#include "durability/Store.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TempDir.h"
#include "tests/unit/buswrappers/RouterSide.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Keeps targets as bridges and routers see it.
namespace keptoutputs
{

using namespace com::tallowcrest::routing;
using namespace std::chrono_literals;
using com::tallowcrest::dds_::routing::MacroXptOutput;
using com::tallowcrest::durability::Channel;
using com::tallowcrest::durability::Decision;
using com::tallowcrest::durability::Store;
using com::tallowcrest::durability::StoredRow;
using dds::core::policy::Durability;

inline const std::string prefix = "com:tallowcrest:routing:";
inline constexpr const char* targetTopic = "TopicTarget";
inline constexpr std::uint32_t greatest = 2592;

inline MacroXptOutput output(std::uint32_t number, std::uint32_t input, std::uint32_t when = 1)
{
    MacroXptOutput result;
    result.macroXptOutput = number;
    result.macroXptInput = input;
    result.when = when;
    return result;
}

inline SourceTime busNow()
{
    return com::tallowcrest::durability::fromBusTime(dds_time());
}

using Targets = std::map<std::uint32_t, std::uint32_t>; ///< inputs by output

/// What a bridge's apartment is told of what is kept.
class KeptOutputs final : public KeptXptOutputsHandler
{
public:
    void onKept(const KeptXptOutputs& kept) override
    {
        using Purpose = KeptXptOutputs::Purpose;
        ++m_calls;
        m_hasHistory = m_hasHistory || kept.purpose == Purpose::History;
        for (const KeptXptOutput& output : kept.outputs)
        {
            const std::uint32_t number = output.sample.macroXptOutput;
            if (kept.purpose == Purpose::Repeat)
            {
                m_publisher->repeat(output.sample, output.written);
                continue;
            }
            (kept.purpose == Purpose::History ? m_history : m_late)[number] = output.sample.macroXptInput;
            m_times[number] = output.written;
        }
    }

    DurableXptOutputPub* m_publisher = nullptr;
    bool m_hasHistory = false;
    int m_calls = 0;
    Targets m_history;
    Targets m_late;
    std::map<std::uint32_t, SourceTime> m_times;
};

/// This process's bridge: a life of it.
class Bridge
{
public:
    explicit Bridge(const std::filesystem::path& store)
    {
        // Read when the first publisher of the process is made.
        ::setenv("KORABRIDGE_DURABLE_STORE", store.c_str(), 1);
        m_sut.emplace(m_apartment, targetTopic, greatest, m_kept);
        m_kept.m_publisher = &*m_sut;
        current() = m_apartment;
    }

    void join(const std::string& partition = "R1")
    {
        m_kept.m_hasHistory = false;
        m_kept.m_history.clear();
        m_sut->joinRouterPartition(partition);
    }
    bool waitForHistory()
    {
        return m_apartment->runUntil([this] { return m_kept.m_hasHistory; });
    }
    Targets history()
    {
        join();
        EXPECT_TRUE(waitForHistory());
        return m_kept.m_history;
    }
    SourceTime take(std::uint32_t number, std::uint32_t input) { return m_sut->decide(output(number, input)); }

    /// The apartment of the process's bridge.
    static std::weak_ptr<FakeApartment>& current()
    {
        static std::weak_ptr<FakeApartment> apartment;
        return apartment;
    }

    const std::shared_ptr<FakeApartment> m_apartment = std::make_shared<FakeApartment>();
    KeptOutputs m_kept;
    std::optional<DurableXptOutputPub> m_sut;
};

/// Another bridge, on a DDS stack of its own, that has joined the same partition: it publishes what it decides, and
/// tells what it knows of others.
class OtherBridge
{
public:
    OtherBridge(const testsupport::WireDomain& wire, const std::filesystem::path& store)
        : m_participant(wire.participant()), m_bus(wire, targetTopic, prefix + "R1", Durability::Persistent()),
          m_recorder(std::make_unique<com::tallowcrest::durability::Recorder>(m_participant, store))
    {
        join();
    }
    ~OtherBridge()
    {
        if (m_channel)
        {
            m_channel->leave();
        }
        m_channel.reset();
        m_recorder.reset();
        m_topic->close();
    }
    OtherBridge(const OtherBridge&) = delete;
    OtherBridge& operator=(const OtherBridge&) = delete;

    void take(std::uint32_t number, std::uint32_t input) { takeAt(number, input, m_channel->clock().next(busNow())); }
    void takeAt(std::uint32_t number, std::uint32_t input, SourceTime written)
    {
        const MacroXptOutput sample = output(number, input);
        m_bus.writer().write(sample, dds::core::Time(written * 1000));
        m_channel->handOver(&sample, written, false);
    }
    /// Decided, and not yet published for those who read the topic.
    void takeUnseen(std::uint32_t number, std::uint32_t input)
    {
        const MacroXptOutput sample = output(number, input);
        m_channel->handOver(&sample, m_channel->clock().next(busNow()), false);
    }
    Targets history() const
    {
        const std::lock_guard lock(m_mutex);
        return m_history;
    }
    bool hasJoined() const
    {
        const std::lock_guard lock(m_mutex);
        return m_hasHistory;
    }
    /// Joins once more: what it knows now.
    Targets known()
    {
        join();
        EXPECT_TRUE(testsupport::waitUntil([this] { return hasJoined(); }));
        return history();
    }

private:
    void join()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_hasHistory = false;
            m_history.clear();
        }
        dds::sub::qos::SubscriberQos subscriberQos;
        subscriberQos << dds::core::policy::Partition(prefix + "R1");
        dds::topic::qos::TopicQos topicQos;
        topicQos << Durability::Persistent() << dds::core::policy::Reliability::Reliable();
        const dds::topic::Topic<MacroXptOutput> topic(m_participant, targetTopic, topicQos);
        dds::sub::qos::DataReaderQos qos(topicQos);
        qos << dds::core::policy::IgnoreLocal(true) << dds::core::policy::UserData(historyReaderMark);
        const dds::sub::Subscriber subscriber(m_participant, subscriberQos);
        m_topic = std::make_shared<DurableTopic<MacroXptOutput>>(
            m_bus.writer(), dds::sub::DataReader<MacroXptOutput>(subscriber, topic, qos),
            dds::sub::DataReader<MacroXptOutput>(subscriber, topic, qos));
        m_channel = m_recorder->channel({.name = {prefix + "R1", targetTopic}, .greatest = greatest, .isShared = false},
                                        durableCodec<MacroXptOutput>());
        m_channel->join(m_topic, [this](const Channel::Delivery& delivery) {
            const std::lock_guard lock(m_mutex);
            for (const Decision& decision : delivery.decisions)
            {
                MacroXptOutput sample;
                ASSERT_TRUE(com::tallowcrest::dds_::routing::parseJson(decision.content, sample));
                m_history[sample.macroXptOutput] = sample.macroXptInput;
            }
            m_hasHistory = m_hasHistory || delivery.purpose == Channel::Delivery::Purpose::History;
        });
    }

    dds::domain::DomainParticipant m_participant;
    RouterSide<MacroXptOutput> m_bus;
    mutable std::mutex m_mutex; ///< guards the two
    bool m_hasHistory = false;
    Targets m_history;
    std::unique_ptr<com::tallowcrest::durability::Recorder> m_recorder;
    std::shared_ptr<DurableTopic<MacroXptOutput>> m_topic;
    std::shared_ptr<Channel> m_channel;
};

class KeptOutputsFixture : public testing::Test
{
protected:
    KeptOutputsFixture()
    {
        std::filesystem::create_directory(m_directory.path() / "memory");
        ::setenv("KORABRIDGE_DURABLE_MEMORY", (m_directory.path() / "memory").c_str(), 1);
    }
    std::filesystem::path store(const std::string& name = "a") const { return m_directory.path() / (name + ".db"); }
    std::unique_ptr<Bridge> bridge() const { return std::make_unique<Bridge>(store()); }
    std::unique_ptr<OtherBridge> otherBridge() const { return std::make_unique<OtherBridge>(m_wire, store("other")); }
    std::vector<StoredRow> stored() const { return Store(store()).load(); }
    /// Whether a sudden end of the process would leave that much.
    bool waitUntilKept(std::uint32_t number, std::uint32_t input, const std::filesystem::path& store) const
    {
        const std::filesystem::path memory = com::tallowcrest::durability::RecentRows::fileOf(store);
        const std::string text = com::tallowcrest::dds_::routing::jsonText(output(number, input));
        return testsupport::waitUntil([&] { return testsupport::readFile(memory).find(text) != std::string::npos; });
    }
    bool waitUntilKept(std::uint32_t number, std::uint32_t input) const
    {
        return waitUntilKept(number, input, store());
    }
    /// A router as it reads targets.
    static std::unique_ptr<RouterSide<MacroXptOutput>> router(const testsupport::WireDomain& wire,
                                                              Durability durability)
    {
        return std::make_unique<RouterSide<MacroXptOutput>>(wire, targetTopic, prefix + "R1", durability);
    }
    static void runApartment()
    {
        if (const auto apartment = Bridge::current().lock())
        {
            apartment->runAll();
        }
    }
    /// What a router that reads `side` has got within `deadline` at most, with the times of writing.
    static bool waitForTargets(RouterSide<MacroXptOutput>& side, const Targets& expected,
                               std::map<std::uint32_t, SourceTime>& times, std::chrono::milliseconds deadline)
    {
        Targets targets;
        return testsupport::waitUntil(
            [&] {
                runApartment();
                for (const auto& sample : side.reader().take())
                {
                    if (sample.info().valid())
                    {
                        targets[sample.data().macroXptOutput] = sample.data().macroXptInput;
                        times[sample.data().macroXptOutput] = sample.info().timestamp().to_nanoseconds() / 1000;
                    }
                }
                return targets == expected;
            },
            deadline);
    }
    static bool waitForTargets(RouterSide<MacroXptOutput>& side, const Targets& expected,
                               std::chrono::milliseconds deadline = 10s)
    {
        std::map<std::uint32_t, SourceTime> times;
        return waitForTargets(side, expected, times, deadline);
    }

    testsupport::TempDir m_directory;
    testsupport::WireDomain m_wire;
};

} // namespace keptoutputs
