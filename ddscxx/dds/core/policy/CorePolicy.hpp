#pragma once

#include "dds/core/Time.hpp"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

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

    static Durability TransientLocal() { return Durability(DurabilityKind::TRANSIENT_LOCAL); }
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

enum class HistoryKind
{
    KEEP_LAST = 0,
    KEEP_ALL = 1
};

class History
{
public:
    History() = default;

    static History KeepLast(std::int32_t depth) { return History(HistoryKind::KEEP_LAST, depth); }
    static History KeepAll() { return History(HistoryKind::KEEP_ALL, 1); }

    HistoryKind kind() const { return m_kind; }
    /// How many samples of each instance are kept, unless all are.
    std::int32_t depth() const { return m_depth; }
    bool operator==(const History&) const = default;

private:
    History(HistoryKind kind, std::int32_t depth) : m_kind(kind), m_depth(depth) {}

    HistoryKind m_kind = HistoryKind::KEEP_LAST;
    std::int32_t m_depth = 1;
};

class WriterDataLifecycle
{
public:
    WriterDataLifecycle() = default;
    explicit WriterDataLifecycle(bool autodispose) : m_autodispose(autodispose) {}

    static WriterDataLifecycle ManuallyDisposeUnregisteredInstances() { return WriterDataLifecycle(false); }

    /// True when unregistering an instance, or losing the writer, also disposes the instance.
    bool autodispose_unregistered_instances() const { return m_autodispose; }
    bool operator==(const WriterDataLifecycle&) const = default;

private:
    bool m_autodispose = true;
};

/// Bytes that an entity tells about itself to whoever discovers it.
class UserData
{
public:
    UserData() = default;
    explicit UserData(std::string value) : m_value(std::move(value)) {}

    const std::string& value() const { return m_value; }
    bool operator==(const UserData&) const = default;

private:
    std::string m_value;
};

/// Whether a reader leaves out what writers of its own participant write. An addition to the standard.
class IgnoreLocal
{
public:
    IgnoreLocal() = default;
    explicit IgnoreLocal(bool ignores) : m_ignores(ignores) {}

    bool ignores() const { return m_ignores; }
    bool operator==(const IgnoreLocal&) const = default;

private:
    bool m_ignores = false;
};

} // namespace dds::core::policy
