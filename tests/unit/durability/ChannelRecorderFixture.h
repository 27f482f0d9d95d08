#pragma once

#include "CrowdOfNeighbours.h"
#include "durability/ChannelRecorder.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// A topic that does what the test says, and nothing by itself.
class ToldTopic final : public com::tallowcrest::durability::IDurableTopic
{
public:
    void takeSeen(const Visitor& visit) override
    {
        for (auto& [instance, decision] : std::exchange(seen, {}))
        {
            visit(instance, decision);
        }
    }
    bool hasNewReader() override { return std::exchange(isReaderNew, false); }
    bool haveReadersAnswered() override { return hasAnswer; }
    void endHistory() override { ++numHistoryEnds; }

    std::vector<std::pair<com::tallowcrest::durability::Instance, com::tallowcrest::durability::Decision>> seen;
    bool isReaderNew = false;
    bool hasAnswer = true;
    int numHistoryEnds = 0;
};

/// A recorder that looks when the test says so. Its store and memory are real, and so is the bus of its neighbours.
class ChannelRecorderFixture : public testing::Test
{
protected:
    using Channel = com::tallowcrest::durability::Channel;
    using ChannelName = com::tallowcrest::durability::ChannelName;
    using ChannelRecorder = com::tallowcrest::durability::ChannelRecorder;
    using ChannelCore = com::tallowcrest::durability::ChannelCore;
    using Clock = std::chrono::steady_clock;
    using Contents = std::vector<std::string>;
    using Instance = com::tallowcrest::durability::Instance;
    using Purpose = Channel::Delivery::Purpose;
    using RecentRows = com::tallowcrest::durability::RecentRows;
    using SourceTime = com::tallowcrest::durability::SourceTime;
    using StoreKeeper = com::tallowcrest::durability::StoreKeeper;
    using TypeCodec = com::tallowcrest::durability::TypeCodec;

    /// What the bridge was told.
    struct Told
    {
        Purpose purpose = Purpose::History;
        Contents contents;
        bool haveReadersAnswered = false;

        bool operator==(const Told&) const = default;
    };

    ChannelRecorderFixture()
    {
        std::filesystem::create_directory(m_directory.path() / "memory");
        ::setenv("KORABRIDGE_DURABLE_MEMORY", (m_directory.path() / "memory").c_str(), 1);
    }
    void start(bool isShared = false, const TypeCodec& codec = outputCodec())
    {
        m_recent.emplace(m_store);
        m_keeper.emplace(m_store, [] {});
        m_channel = std::make_shared<Channel>(
            Channel::Settings{.name = m_name, .greatest = greatest, .isShared = isShared}, codec, m_wake);
        // On a bus that has been calm for a while.
        m_sut.emplace(m_participant, Clock::now() - std::chrono::minutes(1), m_channel, *m_keeper, *m_recent, m_wake);
    }
    bool look()
    {
        const bool isDue = m_sut->work(Clock::now() + m_newcomerIn);
        m_recent->flush();
        return isDue;
    }
    /// True when the bridge has refused what it was told.
    bool lookAndCatch()
    {
        try
        {
            look();
            return false;
        }
        catch (const std::runtime_error&)
        {
            return true;
        }
    }
    template <typename Condition>
    bool lookUntil(Condition&& condition)
    {
        return testsupport::waitUntil([&] {
            look();
            return condition();
        });
    }
    /// Announces a join; its topic.
    std::shared_ptr<ToldTopic> join()
    {
        auto topic = std::make_shared<ToldTopic>();
        join(topic);
        return topic;
    }
    void join(const std::shared_ptr<ToldTopic>& topic)
    {
        m_channel->join(topic, [this](const Channel::Delivery& delivery) {
            if (std::exchange(m_isDeliveryRefused, false))
            {
                throw std::runtime_error("no room");
            }
            Told told{delivery.purpose, {}, delivery.haveReadersAnswered};
            for (const auto& decision : delivery.decisions)
            {
                told.contents.push_back(decision.content);
            }
            m_told.push_back(told);
        });
    }
    /// Waits for the history of the last join, which is the first that the bridge is told.
    Contents history()
    {
        EXPECT_TRUE(lookUntil([this] { return !m_told.empty(); }));
        const std::vector<Told> told = takeTold();
        if (told.size() != 1 || told[0].purpose != Purpose::History)
        {
            ADD_FAILURE() << told.size() << " deliveries, or another than history";
            return {};
        }
        return told[0].contents;
    }
    std::shared_ptr<ToldTopic> joined()
    {
        auto topic = join();
        history();
        return topic;
    }
    std::vector<Told> takeTold() { return std::exchange(m_told, {}); }
    static Told repeat(Contents contents) { return {Purpose::Repeat, std::move(contents), true}; }
    static Told adopt(Contents contents) { return {Purpose::Adopt, std::move(contents), true}; }

    void take(std::uint32_t number, std::uint32_t input) { handOver(number, input, ++m_time, false); }
    void handOver(std::uint32_t number, std::uint32_t input, SourceTime time, bool isHistory)
    {
        const Output value = output(number, input);
        m_channel->handOver(&value, time, isHistory);
    }
    /// By somebody else in the partition.
    void publishElsewhere(ToldTopic& topic, std::uint32_t number, std::uint32_t input)
    {
        topic.seen.push_back({number, {++m_time, contentOf(number, input)}});
    }
    bool isRemembered(const std::string& content) const
    {
        return testsupport::readFile(RecentRows::fileOf(m_store)).find(content) != std::string::npos;
    }

    static constexpr Instance greatest = 127;
    const ChannelName m_name{"R1", "TopicTarget"};
    testsupport::TempDir m_directory;
    testsupport::LogRecorder m_log;
    const std::filesystem::path m_store = m_directory.path() / "a.db";
    com::tallowcrest::util::WakeEvent m_wake;
    CrowdOfNeighbours m_others{m_name};
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    std::vector<Told> m_told;
    bool m_isDeliveryRefused = false; ///< the next one
    std::chrono::seconds m_newcomerIn{-60};
    SourceTime m_time = 1'600'000'000'000'000;
    std::optional<RecentRows> m_recent;
    std::optional<StoreKeeper> m_keeper;
    std::shared_ptr<Channel> m_channel;
    std::optional<ChannelRecorder> m_sut;
};
