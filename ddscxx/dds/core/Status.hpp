#pragma once

#include "dds/core/Reference.hpp"

#include <cstdint>
#include <variant>

namespace dds::core::status
{

/// A set of statuses, one bit each as the DDS standard numbers them (the DDS library has numbers of its own).
class StatusMask
{
public:
    constexpr StatusMask() = default;
    constexpr explicit StatusMask(std::uint32_t bits) : m_bits(bits) {}

    static constexpr StatusMask none() { return StatusMask(); }
    static constexpr StatusMask requested_deadline_missed() { return StatusMask(0x0004); }
    static constexpr StatusMask requested_incompatible_qos() { return StatusMask(0x0040); }
    static constexpr StatusMask sample_lost() { return StatusMask(0x0080); }
    static constexpr StatusMask sample_rejected() { return StatusMask(0x0100); }
    static constexpr StatusMask data_available() { return StatusMask(0x0400); }
    static constexpr StatusMask liveliness_changed() { return StatusMask(0x1000); }
    static constexpr StatusMask publication_matched() { return StatusMask(0x2000); }
    static constexpr StatusMask subscription_matched() { return StatusMask(0x4000); }
    /// Every status of a reader.
    static constexpr StatusMask all()
    {
        return requested_deadline_missed() | requested_incompatible_qos() | sample_rejected() | liveliness_changed() |
               data_available() | subscription_matched() | sample_lost();
    }

    constexpr std::uint32_t to_ulong() const { return m_bits; }
    /// True when every status of `other` is in this set.
    constexpr bool contains(StatusMask other) const { return (m_bits & other.m_bits) == other.m_bits; }
    constexpr StatusMask operator|(StatusMask other) const { return StatusMask(m_bits | other.m_bits); }
    constexpr bool operator==(const StatusMask&) const = default;

private:
    std::uint32_t m_bits = 0;
};

/// Counts of a status: all since the entity was made, and the change since it was last looked at.
class CountedStatus
{
public:
    constexpr CountedStatus() = default;
    constexpr CountedStatus(std::int32_t total, std::int32_t totalChange)
        : m_totalCount(total), m_totalCountChange(totalChange)
    {}

    constexpr std::int32_t total_count() const { return m_totalCount; }
    constexpr std::int32_t total_count_change() const { return m_totalCountChange; }
    constexpr bool operator==(const CountedStatus&) const = default;

private:
    std::int32_t m_totalCount = 0;
    std::int32_t m_totalCountChange = 0;
};

class SampleLostStatus : public CountedStatus
{
public:
    using CountedStatus::CountedStatus;
};

class RequestedDeadlineMissedStatus : public CountedStatus
{
public:
    constexpr RequestedDeadlineMissedStatus() = default;
    constexpr RequestedDeadlineMissedStatus(CountedStatus counts, InstanceHandle lastInstance)
        : CountedStatus(counts), m_lastInstance(lastInstance)
    {}

    constexpr InstanceHandle last_instance_handle() const { return m_lastInstance; }
    constexpr bool operator==(const RequestedDeadlineMissedStatus&) const = default;

private:
    InstanceHandle m_lastInstance;
};

class RequestedIncompatibleQosStatus : public CountedStatus
{
public:
    constexpr RequestedIncompatibleQosStatus() = default;
    constexpr RequestedIncompatibleQosStatus(CountedStatus counts, std::uint32_t lastPolicyId)
        : CountedStatus(counts), m_lastPolicyId(lastPolicyId)
    {}

    /// The standard's number of the policy that did not fit.
    constexpr std::uint32_t last_policy_id() const { return m_lastPolicyId; }
    constexpr bool operator==(const RequestedIncompatibleQosStatus&) const = default;

private:
    std::uint32_t m_lastPolicyId = 0;
};

enum class SampleRejectedState
{
    NotRejected = 0,
    RejectedByInstancesLimit = 1,
    RejectedBySamplesLimit = 2,
    RejectedBySamplesPerInstanceLimit = 3
};

class SampleRejectedStatus : public CountedStatus
{
public:
    constexpr SampleRejectedStatus() = default;
    constexpr SampleRejectedStatus(CountedStatus counts, SampleRejectedState lastReason, InstanceHandle lastInstance)
        : CountedStatus(counts), m_lastReason(lastReason), m_lastInstance(lastInstance)
    {}

    constexpr SampleRejectedState last_reason() const { return m_lastReason; }
    constexpr InstanceHandle last_instance_handle() const { return m_lastInstance; }
    constexpr bool operator==(const SampleRejectedStatus&) const = default;

private:
    SampleRejectedState m_lastReason = SampleRejectedState::NotRejected;
    InstanceHandle m_lastInstance;
};

/// Writers that a reader sees alive and not alive.
class LivelinessChangedStatus
{
public:
    constexpr LivelinessChangedStatus() = default;
    constexpr LivelinessChangedStatus(std::int32_t alive, std::int32_t notAlive, std::int32_t aliveChange,
                                      std::int32_t notAliveChange, InstanceHandle lastPublication)
        : m_aliveCount(alive), m_notAliveCount(notAlive), m_aliveCountChange(aliveChange),
          m_notAliveCountChange(notAliveChange), m_lastPublication(lastPublication)
    {}

    constexpr std::int32_t alive_count() const { return m_aliveCount; }
    constexpr std::int32_t not_alive_count() const { return m_notAliveCount; }
    constexpr std::int32_t alive_count_change() const { return m_aliveCountChange; }
    constexpr std::int32_t not_alive_count_change() const { return m_notAliveCountChange; }
    constexpr InstanceHandle last_publication_handle() const { return m_lastPublication; }
    constexpr bool operator==(const LivelinessChangedStatus&) const = default;

private:
    std::int32_t m_aliveCount = 0;
    std::int32_t m_notAliveCount = 0;
    std::int32_t m_aliveCountChange = 0;
    std::int32_t m_notAliveCountChange = 0;
    InstanceHandle m_lastPublication;
};

/// Samples have come; that is all it says.
struct DataAvailableStatus
{};

/// Counts of matched peers: in all, and at present.
class MatchedStatus : public CountedStatus
{
public:
    constexpr MatchedStatus() = default;
    constexpr MatchedStatus(CountedStatus counts, std::int32_t current, std::int32_t currentChange, InstanceHandle last)
        : CountedStatus(counts), m_currentCount(current), m_currentCountChange(currentChange), m_last(last)
    {}

    constexpr std::int32_t current_count() const { return m_currentCount; }
    constexpr std::int32_t current_count_change() const { return m_currentCountChange; }
    constexpr bool operator==(const MatchedStatus&) const = default;

protected:
    constexpr InstanceHandle last() const { return m_last; }

private:
    std::int32_t m_currentCount = 0;
    std::int32_t m_currentCountChange = 0;
    InstanceHandle m_last;
};

class SubscriptionMatchedStatus : public MatchedStatus
{
public:
    using MatchedStatus::MatchedStatus;
    constexpr InstanceHandle last_publication_handle() const { return last(); }
};

class PublicationMatchedStatus : public MatchedStatus
{
public:
    using MatchedStatus::MatchedStatus;
    constexpr InstanceHandle last_subscription_handle() const { return last(); }
};

/// One of the statuses of a reader.
using ReaderStatus =
    std::variant<RequestedDeadlineMissedStatus, RequestedIncompatibleQosStatus, SampleRejectedStatus,
                 LivelinessChangedStatus, DataAvailableStatus, SubscriptionMatchedStatus, SampleLostStatus>;

} // namespace dds::core::status
