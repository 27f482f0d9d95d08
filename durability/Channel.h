#pragma once

#include "durability/HandOver.h"
#include "durability/IDurableTopic.h"
#include "durability/StoredRow.h"
#include "durability/TypeCodec.h"
#include "runtime/util/WakeEvent.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace com::tallowcrest::durability
{

/// One topic in one partition, between the bridge that writes it and the recorder that keeps it. Thread-safe; no
/// operation waits for the disk, the bus or the recorder. Shared by the writer that has joined the partition and the
/// recorder.
class Channel
{
public:
    struct Settings
    {
        ChannelName name;
        Instance greatest = 0;      ///< greater ones do not exist
        bool isShared = false;      ///< the bridge's table follows the decisions of others
        std::string bridgesWrite{}; ///< a topic: of too many neighbours those that write it are preferred
    };
    /// What the bridge is to do: it alone publishes, in one order with its own decisions, and leaves out what is older
    /// than those.
    struct Delivery
    {
        enum class Purpose
        {
            History, ///< all that a join brings: for the table, and to be published
            Adopt,   ///< for the table
            Repeat   ///< to be published
        };
        Purpose purpose = Purpose::History;
        std::vector<Decision> decisions;
        bool haveReadersAnswered = true; ///< what is published now reaches all that are known
    };
    using Deliver = std::function<void(Delivery)>;
    struct Join
    {
        std::shared_ptr<IDurableTopic> topic;
        Deliver deliver;
        std::uint64_t ticket = 0;
    };

    /// `recorder` is signalled when there is work for the recorder.
    Channel(Settings settings, const TypeCodec& codec, util::WakeEvent& recorder)
        : m_settings(std::move(settings)), m_codec(codec), m_recorder(recorder), m_handOver(codec.valueSize)
    {}

    const Settings& settings() const { return m_settings; }
    const ChannelName& name() const { return m_settings.name; }
    const TypeCodec& codec() const { return m_codec; }
    HybridClock& clock() { return m_clock; }

    // For the bridge.

    /// The bridge is about to join.
    void expectJoin()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isExpected = true;
        }
        m_recorder.signal();
    }
    /// The bridge has joined, once more perhaps. `deliver` is called on the recorder's thread, once with the history
    /// and then with what is learnt later, until the next join or `leave`; again when it throws.
    void join(std::shared_ptr<IDurableTopic> topic, Deliver deliver)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_join = Join{std::move(topic), std::move(deliver), ++m_lastTicket};
            m_isLeft = false;
        }
        m_recorder.signal();
    }
    void leave()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_join.reset();
            m_isLeft = true;
        }
        m_recorder.signal();
    }
    /// A value was written. Costs one copy. On the thread that joins.
    void handOver(const void* value, SourceTime time, bool isHistory)
    {
        if (m_handOver.push(value, {.time = time, .isHistory = isHistory, .ticket = m_lastTicket}))
        {
            m_recorder.signal();
        }
    }

    /// The bus refused what was to be published once more: the bridge will be told to do it again.
    void refused(Instance instance)
    {
        const std::lock_guard lock(m_mutex);
        m_refused.push_back(instance);
    }

    /// Others have written.
    void wake() { m_recorder.signal(); }

    // For the recorder.

    std::vector<Instance> takeRefused()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_refused, {});
    }
    /// Whether a join has been announced since the last call.
    bool takeExpected()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_isExpected, false);
    }
    /// The newest join since the last call.
    std::optional<Join> takeJoin()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_join, std::nullopt);
    }
    bool isLeft() const
    {
        const std::lock_guard lock(m_mutex);
        return m_isLeft;
    }
    /// Nothing is left of it to be kept.
    bool isDrained() const { return m_handOver.isEmpty(); }
    void drain(HandOver::Batch& batch) { m_handOver.exchange(batch); }
    /// Gives back the memory of a burst, that of `batch` too, whose content is dropped.
    void shrinkHandOver(HandOver::Batch& batch) { m_handOver.shrink(batch); }

private:
    const Settings m_settings;
    const TypeCodec& m_codec;
    util::WakeEvent& m_recorder;
    HybridClock m_clock;
    HandOver m_handOver;
    mutable std::mutex m_mutex; ///< guards what follows
    std::vector<Instance> m_refused;
    std::optional<Join> m_join;
    std::uint64_t m_lastTicket = 0; ///< also read by the thread that writes it
    bool m_isExpected = false;
    bool m_isLeft = true;
};

} // namespace com::tallowcrest::durability
