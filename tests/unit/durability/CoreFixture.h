#pragma once

#include "durability/ChannelCore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A core whose time passes when the test says so. Two buckets; contents are words.
class CoreFixture : public testing::Test
{
protected:
    using ChannelCore = com::tallowcrest::durability::ChannelCore;
    using Decision = com::tallowcrest::durability::Decision;
    using Instance = com::tallowcrest::durability::Instance;
    using NeighbourId = com::tallowcrest::durability::NeighbourId;
    using SourceTime = com::tallowcrest::durability::SourceTime;
    using Status = com::tallowcrest::durability::Status;
    using BucketRows = com::tallowcrest::durability::BucketRows;
    using Time = ChannelCore::Time;
    using Instances = std::vector<Instance>;
    using Kept = ChannelCore::Kept;

    static constexpr NeighbourId self = 50;
    static constexpr Instance greatest = 2 * com::tallowcrest::durability::bucketSize - 1;
    static constexpr SourceTime wallAtStart = com::tallowcrest::durability::earliestSane + 1'000'000'000'000;
    /// Some time at which a decision is written.
    static constexpr SourceTime t = wallAtStart - 1'000'000;

    CoreFixture() { makeCore(false); }
    void makeCore(bool isShared)
    {
        m_clock = std::make_unique<com::tallowcrest::durability::HybridClock>();
        m_sut = std::make_unique<ChannelCore>(ChannelCore::Settings{.greatest = greatest,
                                                                    .self = self,
                                                                    .isShared = isShared,
                                                                    .started = m_now.steady,
                                                                    .rules = {.order = order, .digest = digest}},
                                              *m_clock);
    }
    static int order(const std::string& left, const std::string& right) { return left.compare(right); }
    static std::uint64_t digest(const std::string& content) { return std::hash<std::string>()(content); }

    void pass(Time time)
    {
        m_now.steady += time;
        m_now.wall += time.count();
    }
    /// Time passes, and the core looks.
    ChannelCore::Effects look(Time time = Time(0))
    {
        pass(time);
        m_sut->tick(m_now);
        return m_sut->takeEffects(m_now);
    }
    ChannelCore::Effects effects() { return m_sut->takeEffects(m_now); }
    /// A bridge that has joined, whoever was silent, some time ago.
    void join()
    {
        m_sut->join(++m_ticket, m_now);
        m_sut->storeTried();
        look(ChannelCore::longestSettling);
        look(ChannelCore::neighboursAnswer);
        look(std::chrono::minutes(1));
        ASSERT_FALSE(m_sut->isInHurry());
    }
    void decide(Instance instance, SourceTime written, const std::string& content = "here")
    {
        m_sut->decided(instance, {written, content}, m_now.steady, m_now);
    }
    void publish(Instance instance, SourceTime written, const std::string& content = "here")
    {
        m_sut->published(instance, {written, content}, m_now.steady, m_now);
    }
    void see(Instance instance, SourceTime written, const std::string& content = "topic")
    {
        m_sut->seen(instance, {written, content}, m_now);
    }
    void load(Instance instance, SourceTime written, const std::string& content = "kept", Kept where = Kept::Store)
    {
        m_sut->loaded(instance, {written, content}, where, m_now);
    }
    void hearRows(Instance instance, SourceTime written, const std::string& content = "neighbour")
    {
        m_sut->heard({.bucket = instance / com::tallowcrest::durability::bucketSize,
                      .digest = 0,
                      .rows = {{instance, {written, content}}}},
                     m_now);
    }
    /// What a neighbour says that has met this bridge.
    void hear(NeighbourId id, std::vector<std::uint64_t> digests = {0, 0}, std::vector<Status::Want> wants = {})
    {
        m_sut->heard(id, {.digests = std::move(digests), .met = {self}, .wants = std::move(wants)}, m_now);
    }
    std::string known(Instance instance) const
    {
        const Decision* const decision = m_sut->known(instance);
        return decision == nullptr ? "nothing" : decision->content;
    }

    ChannelCore::Now m_now{.steady = std::chrono::hours(1), .wall = wallAtStart};
    std::unique_ptr<com::tallowcrest::durability::HybridClock> m_clock;
    std::unique_ptr<ChannelCore> m_sut;
    std::uint64_t m_ticket = 0;
};
