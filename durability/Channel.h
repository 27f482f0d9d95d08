#pragma once

#include "durability/HandOver.h"
#include "durability/SampleTable.h"
#include "durability/StoredRow.h"
#include "durability/TypeCodec.h"
#include "runtime/util/WakeEvent.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace com::tallowcrest::durability
{

/// What is known of one topic in one partition, shared by its writers and readers, the recorder and the store's
/// keeper. Thread-safe; no operation waits for the disk or the bus, except `history`, which is there to wait. Owned by
/// the service, for as long as the participant lives.
class Channel
{
public:
    using Clock = std::chrono::steady_clock;

    /// `recorder` is signalled when there is work for the recorder.
    Channel(ChannelName name, const TypeCodec& codec, util::WakeEvent& recorder);

    const ChannelName& name() const { return m_name; }
    const TypeCodec& codec() const { return m_codec; }

    // For writers and readers.

    /// Somebody uses the channel; only then is it present on the bus.
    void addUser();
    void removeUser();

    struct Stamp
    {
        SourceTime time = 0;
        bool isReplay = false;    ///< history published once more: not a new decision, not to be recorded
        bool isOvertaken = false; ///< such history, and something newer is known: not to be published
    };
    /// The time for a write at `now`.
    Stamp stamp(const void* sample, SourceTime now);
    /// A sample was written. Costs one copy.
    void handOver(const void* sample, SourceTime written);

    struct History
    {
        std::vector<KeptSample> samples; ///< oldest first
        bool isComplete = false;         ///< false when the time ran out first
    };
    /// Waits until the store and every live participant have given what they keep, and returns the newest of each
    /// instance. The caller's thread.
    History history(std::chrono::nanoseconds timeout);

    /// From here on a write that repeats a sample of `delivered`, once each, is history published once more: it keeps
    /// its time, so that it sorts where it belongs and never hides what others have set meanwhile.
    void beginReplay(const std::vector<KeptSample>& delivered);
    void endReplay();

    // For the recorder.

    bool isUsed() const { return m_users.load() > 0; }
    enum class Origin
    {
        Writer, ///< handed over by a writer of this process
        Store,
        Memory, ///< left by an earlier life in the machine's memory
        Bus     ///< from another participant
    };
    /// What has been handed over since the last call.
    void drain(HandOver::Batch& batch) { m_handOver.exchange(batch); }
    /// Gives back the memory of a burst, that of `batch` too, whose content is dropped.
    void shrinkHandOver(HandOver::Batch& batch) { m_handOver.shrink(batch); }
    /// Keeps the sample when it is the newest of its instance; false when it is not.
    bool apply(const std::string& instance, const void* sample, SourceTime written, Origin origin);
    /// A copy of what is kept of an instance.
    std::optional<KeptSample> kept(const std::string& instance) const;
    std::vector<std::pair<std::string, SourceTime>> keptTimes() const;
    std::size_t size() const;
    /// Adds the newest row of every instance.
    void collectAll(std::vector<StoredRow>& rows) const;
    /// True once for each channel whose table had to refuse an instance.
    bool takeRefusal() { return m_refusal.exchange(false); }

    /// Number of the newest call of `history` and when it started; 0 when none waits.
    struct Waiting
    {
        std::uint64_t ticket = 0;
        Clock::time_point since;
    };
    Waiting waiting() const;
    /// All that was there for the call `ticket` has been applied.
    void complete(std::uint64_t ticket);

    // For the keeper of the store.

    /// One sample as a row.
    StoredRow rowOf(const std::string& instance, const void* sample, SourceTime written) const;
    /// Adds the rows that the store does not have yet and takes them for stored.
    void collectDue(std::vector<StoredRow>& rows);
    bool hasDue() const;
    /// They could not be stored after all.
    void giveBack(const std::vector<StoredRow>& rows);
    /// The store is a new one: everything is due.
    void makeAllDue();

private:
    const ChannelName m_name;
    const TypeCodec& m_codec;
    util::WakeEvent& m_recorder;
    HandOver m_handOver;
    HybridClock m_clock;
    std::atomic<int> m_users{0};
    std::atomic<bool> m_isReplaying{false};
    std::atomic<bool> m_refusal{false};

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_completed;
    SampleTable m_table;
    std::map<std::string, KeptSample> m_replay;
    std::unordered_set<std::string> m_due; ///< instances to store
    std::uint64_t m_lastTicket = 0;
    std::uint64_t m_completedTicket = 0;
    Clock::time_point m_waitingSince;
    bool m_refused = false;
};

} // namespace com::tallowcrest::durability
