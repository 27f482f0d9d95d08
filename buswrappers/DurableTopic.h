#pragma once

#include "bustypes/SampleCheck.h"
#include "bustypes/SampleText.h"
#include "buswrappers/SampleGate.h"
#include "dds/core/Exception.hpp"
#include "dds/pub/DataWriter.hpp"
#include "dds/sub/DataReader.hpp"
#include "dds/sub/Sample.hpp"
#include "dds/topic/BuiltinTopic.hpp"
#include "durability/IDurableTopic.h"
#include "durability/TypeCodec.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace com::tallowcrest::routing
{

/// The order of two contents of samples, and a number for one, without the member that says when they take effect.
int orderButWhen(const std::string& left, const std::string& right);
std::uint64_t digestButWhen(const std::string& content);

/// What a bridge's own reader of a durable topic tells about itself: the bridges hand history to each other themselves.
inline constexpr const char* historyReaderMark = "korabridge: history";

/// What the keeping of data must know of T, a bus type with one key member of 32 bits and no strings.
template <typename T>
const durability::TypeCodec& durableCodec()
{
    namespace bus = dds_::routing;
    static_assert(std::is_trivially_copyable_v<T>);
    static constexpr auto valueOf = [](const void* value) -> const T& { return *static_cast<const T*>(value); };
    static const durability::TypeCodec codec{
        .typeName = bus::TypeSupport<T>::descriptor().m_typename,
        .valueSize = sizeof(T),
        .instanceOf = [](const void* value) { return bus::keyNumber(valueOf(value)); },
        .contentOf = [](const void* value) { return bus::jsonText(valueOf(value)); },
        .normalize =
            [](std::string& content, durability::Instance instance) {
                T value;
                if (!bus::parseJson(content, value) || bus::keyNumber(value) != instance ||
                    !bus::faultOf(value).empty())
                {
                    return false;
                }
                content = bus::jsonText(value);
                return true;
            },
        .rules = {.order = &orderButWhen, .digest = &digestButWhen}};
    return codec;
}

/// The writer and the readers of a durable topic in one partition, as the recorder sees them. Thread-safe; the
/// bridge closes it when it has joined anew.
template <typename T>
class DurableTopic final : public durability::IDurableTopic, private dds::sub::NoOpDataReaderListener<T>
{
public:
    /// `seen` reads what others write from now on, `history` what others keep; either may be nil. `wake` is called, on
    /// any thread, when others have written; `tellReaders`, on the recorder's, with how many readers there are that are
    /// no bridge's, at first and when that changes. Neither may throw, and neither is called any more once it is
    /// closed.
    DurableTopic(
        dds::pub::DataWriter<T> writer, dds::sub::DataReader<T> seen, dds::sub::DataReader<T> history,
        std::function<void()> wake = [] {}, std::function<void(std::size_t)> tellReaders = [](std::size_t) {})
        : m_wake(std::move(wake)), m_tellReaders(std::move(tellReaders)), m_writer(std::move(writer)),
          m_history(std::move(history)), m_readers(lateReaders(m_writer.matched_subscriptions())),
          m_seen(std::move(seen))
    {
        if (!m_seen.is_nil())
        {
            m_seen.listener(this, dds::core::status::StatusMask::data_available());
        }
    }

    /// Lets go of the bus. What others have written so far can still be taken.
    void close()
    {
        const std::lock_guard lock(m_mutex);
        try
        {
            takeAll([this](durability::Instance instance, durability::Decision decision) {
                m_left.emplace_back(instance, std::move(decision));
            });
        }
        catch (const dds::core::Exception&)
        {
            // The bus gives nothing more; what it has given is there.
        }
        m_writer = dds::core::null;
        m_history = dds::core::null;
        m_seen = dds::core::null;
    }

    void takeSeen(const Visitor& visit) override
    {
        const std::lock_guard lock(m_mutex);
        for (auto& [instance, decision] : std::exchange(m_left, {}))
        {
            visit(instance, std::move(decision));
        }
        takeAll(visit);
    }

    bool hasNewReader() override
    {
        const std::lock_guard lock(m_mutex);
        if (m_writer.is_nil())
        {
            return false;
        }
        const dds::core::status::PublicationMatchedStatus matched = m_writer.publication_matched_status();
        const Counts counts{matched.total_count(), matched.current_count()};
        if (counts == std::exchange(m_counts, counts))
        {
            return false;
        }
        const std::vector<dds::pub::MatchedSubscription> all = m_writer.matched_subscriptions();
        m_tellReaders(countOthers(all));
        std::vector<std::uint64_t> readers = lateReaders(all);
        const bool isNew = !std::includes(m_readers.begin(), m_readers.end(), readers.begin(), readers.end());
        m_readers = std::move(readers);
        return isNew;
    }

    bool haveReadersAnswered() override
    {
        const std::lock_guard lock(m_mutex);
        try
        {
            if (!m_writer.is_nil())
            {
                m_writer.wait_for_acknowledgments(dds::core::Duration::from_secs(0));
            }
            return true;
        }
        catch (const dds::core::TimeoutError&)
        {
            return false;
        }
    }

    void endHistory() override
    {
        const std::lock_guard lock(m_mutex);
        m_history = dds::core::null;
    }

private:
    void takeAll(const Visitor& visit)
    {
        for (dds::sub::DataReader<T>* const reader : {&m_history, &m_seen})
        {
            if (reader->is_nil())
            {
                continue;
            }
            const auto taken = reader->select().max_samples(mostSamplesAtOnce).take();
            if (taken.length() == mostSamplesAtOnce)
            {
                m_wake(); // the rest is the next look's
            }
            for (const auto& sample : taken)
            {
                if (sample.info().valid() && dds_::routing::faultOf(sample.data()).empty())
                {
                    visit(dds_::routing::keyNumber(sample.data()),
                          {.written = durability::fromBusTime(sample.info().timestamp().to_nanoseconds()),
                           .content = dds_::routing::jsonText(sample.data())});
                }
            }
        }
    }

    using Reader = dds::sub::DataReader<T>;
    void on_data_available(Reader&) override { m_wake(); }

    static bool isBridges(const dds::pub::MatchedSubscription& reader)
    {
        return reader.userData.value() == historyReaderMark;
    }
    /// Those of participants that are no bridges.
    static std::size_t countOthers(const std::vector<dds::pub::MatchedSubscription>& all)
    {
        std::set<dds::topic::BuiltinTopicKey> bridges;
        for (const dds::pub::MatchedSubscription& reader : all)
        {
            if (isBridges(reader))
            {
                bridges.insert(reader.participant);
            }
        }
        return static_cast<std::size_t>(std::count_if(
            all.begin(), all.end(), [&](const auto& reader) { return !bridges.contains(reader.participant); }));
    }
    /// Those that ask for what was published before, in order.
    static std::vector<std::uint64_t> lateReaders(const std::vector<dds::pub::MatchedSubscription>& all)
    {
        std::vector<std::uint64_t> readers;
        for (const dds::pub::MatchedSubscription& reader : all)
        {
            if (reader.durability.kind() != dds::core::policy::DurabilityKind::VOLATILE && !isBridges(reader))
            {
                readers.push_back(reader.handle.value());
            }
        }
        std::sort(readers.begin(), readers.end());
        return readers;
    }

    using Counts = std::pair<std::int32_t, std::int32_t>;

    const std::function<void()> m_wake;
    const std::function<void(std::size_t)> m_tellReaders;
    std::mutex m_mutex;                                                        ///< guards what follows
    std::vector<std::pair<durability::Instance, durability::Decision>> m_left; ///< taken when it was closed
    dds::pub::DataWriter<T> m_writer;
    dds::sub::DataReader<T> m_history;
    Counts m_counts{-1, -1};              ///< of readers that came, and that are there, at the last look
    std::vector<std::uint64_t> m_readers; ///< in order
    dds::sub::DataReader<T> m_seen;       ///< last, so that it goes first and no callback finds the rest gone
};

} // namespace com::tallowcrest::routing
