#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "dds/core/Duration.hpp"

/// The QoS policies that the bridge uses; the defaults are those of the DDS standard.
namespace dds::core::policy
{

enum class DurabilityKind
{
    VOLATILE = 0,
    TRANSIENT_LOCAL = 1,
    TRANSIENT = 2,
    PERSISTENT = 3
};

class Durability
{
public:
    Durability() = default;
    explicit Durability(DurabilityKind kind) : m_kind(kind) {}

    static Durability Volatile() { return Durability(DurabilityKind::VOLATILE); }
    static Durability TransientLocal() { return Durability(DurabilityKind::TRANSIENT_LOCAL); }
    static Durability Transient() { return Durability(DurabilityKind::TRANSIENT); }
    static Durability Persistent() { return Durability(DurabilityKind::PERSISTENT); }

    DurabilityKind kind() const { return m_kind; }
    bool operator==(const Durability&) const = default;

private:
    DurabilityKind m_kind = DurabilityKind::VOLATILE;
};

enum class ReliabilityKind
{
    BEST_EFFORT = 0,
    RELIABLE = 1
};

class Reliability
{
public:
    static constexpr Duration defaultMaxBlockingTime = Duration::from_millisecs(100);

    Reliability() = default;
    explicit Reliability(ReliabilityKind kind, Duration maxBlockingTime = defaultMaxBlockingTime)
        : m_kind(kind), m_maxBlockingTime(maxBlockingTime)
    {}

    static Reliability BestEffort() { return Reliability(ReliabilityKind::BEST_EFFORT); }
    static Reliability Reliable(Duration maxBlockingTime = defaultMaxBlockingTime)
    {
        return Reliability(ReliabilityKind::RELIABLE, maxBlockingTime);
    }

    ReliabilityKind kind() const { return m_kind; }
    /// How long a write may wait for room before it fails.
    Duration max_blocking_time() const { return m_maxBlockingTime; }
    bool operator==(const Reliability&) const = default;

private:
    ReliabilityKind m_kind = ReliabilityKind::BEST_EFFORT;
    Duration m_maxBlockingTime = defaultMaxBlockingTime;
};

enum class HistoryKind
{
    KEEP_LAST = 0,
    KEEP_ALL = 1
};

class History
{
public:
    History() = default;
    History(HistoryKind kind, std::int32_t depth) : m_kind(kind), m_depth(depth) {}

    static History KeepLast(std::int32_t depth) { return History(HistoryKind::KEEP_LAST, depth); }
    static History KeepAll() { return History(HistoryKind::KEEP_ALL, -1); }

    HistoryKind kind() const { return m_kind; }
    /// Samples kept of each instance; -1 means all.
    std::int32_t depth() const { return m_depth; }
    bool operator==(const History&) const = default;

private:
    HistoryKind m_kind = HistoryKind::KEEP_LAST;
    std::int32_t m_depth = 1;
};

enum class DestinationOrderKind
{
    BY_RECEPTION_TIMESTAMP = 0,
    BY_SOURCE_TIMESTAMP = 1
};

class DestinationOrder
{
public:
    DestinationOrder() = default;
    explicit DestinationOrder(DestinationOrderKind kind) : m_kind(kind) {}

    static DestinationOrder ReceptionTimestamp()
    {
        return DestinationOrder(DestinationOrderKind::BY_RECEPTION_TIMESTAMP);
    }
    static DestinationOrder SourceTimestamp() { return DestinationOrder(DestinationOrderKind::BY_SOURCE_TIMESTAMP); }

    DestinationOrderKind kind() const { return m_kind; }
    bool operator==(const DestinationOrder&) const = default;

private:
    DestinationOrderKind m_kind = DestinationOrderKind::BY_RECEPTION_TIMESTAMP;
};

class Partition
{
public:
    Partition() = default;
    explicit Partition(std::string name) : m_names{std::move(name)} {}
    explicit Partition(std::vector<std::string> names) : m_names(std::move(names)) {}

    const std::vector<std::string>& name() const { return m_names; }
    bool operator==(const Partition&) const = default;

private:
    std::vector<std::string> m_names;
};

class WriterDataLifecycle
{
public:
    WriterDataLifecycle() = default;
    explicit WriterDataLifecycle(bool autodispose) : m_autodispose(autodispose) {}

    static WriterDataLifecycle AutoDisposeUnregisteredInstances() { return WriterDataLifecycle(true); }
    static WriterDataLifecycle ManuallyDisposeUnregisteredInstances() { return WriterDataLifecycle(false); }

    /// True when unregistering an instance, or losing the writer, also disposes the instance.
    bool autodispose_unregistered_instances() const { return m_autodispose; }
    bool operator==(const WriterDataLifecycle&) const = default;

private:
    bool m_autodispose = true;
};

} // namespace dds::core::policy
