#pragma once

#include "bustypes/SampleCheck.h"
#include "bustypes/SampleText.h"
#include "buswrappers/FaultLog.h"
#include "buswrappers/GateDrops.h"
#include "dds/sub/Sample.hpp"
#include "runtime/util/VisibleText.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace com::tallowcrest::routing
{

/// What one look takes from a reader, so that a flood of samples holds up nobody; more than any table has rows. The
/// rest is left for the next look.
inline constexpr std::uint32_t mostSamplesAtOnce = 4096;

/// The instances that a reader has made room for: the first `most` different ones. Thread-safe.
class InstanceBound
{
public:
    explicit InstanceBound(std::size_t most) : m_most(most) {}

    bool admit(std::uint32_t instance)
    {
        const std::lock_guard lock(m_mutex);
        return m_instances.contains(instance) || (m_instances.size() < m_most && m_instances.insert(instance).second);
    }

    /// True once, after the first one that was not admitted.
    bool isFirstRefusal() { return !m_isRefusalKnown.exchange(true); }

private:
    const std::size_t m_most;
    std::atomic<bool> m_isRefusalKnown{false};
    std::mutex m_mutex;
    std::unordered_set<std::uint32_t> m_instances;
};

/// The instances that a reader makes room for. What has no place gets no further than the receiving threads, where it
/// costs nothing; that is not a fault, because routers may be larger than this bridge's tables.
template <typename T>
struct Places
{
    /// Whether there is a place for this very instance, by its key; empty: for each. Called on any thread.
    std::function<bool(const T&)> has;
    /// So many others come in all the same, the first ones, and are the handler's to judge.
    std::size_t mostOthers = 8;
    bool isFullNews = false; ///< that others are turned away is worth a warning
};

/// What the topic of one reader is to be filtered with; empty when all have a place. `onFull` is called, on the
/// receiving thread, when the first instance is turned away; it must not throw.
template <typename T>
std::function<bool(const T&)> filterFor(const Places<T>& places, std::function<void()> onFull)
{
    if (!places.has)
    {
        return nullptr;
    }
    return [has = places.has, others = std::make_shared<InstanceBound>(places.mostOthers),
            onFull = std::move(onFull)](const T& sample) {
        const bool isWanted = has(sample) || others->admit(dds_::routing::keyNumber(sample));
        if (!isWanted)
        {
            countTurnedAway();
            if (others->isFirstRefusal())
            {
                onFull();
            }
        }
        return isWanted;
    };
}

/// Stands between a reader and whoever handles its samples: those that say what cannot be are dropped with a warning.
/// Apartment-bound.
template <typename T>
class SampleGate
{
public:
    /// So many ends of instances that have no place pass without a word: a larger router may give up outputs.
    static constexpr std::size_t mostQuietEnds = 4096;

    SampleGate(std::string topicName, Places<T> places) : m_topicName(std::move(topicName)), m_places(std::move(places))
    {}

    /// For the topic of the next reader. `look` makes somebody call `sound` soon.
    std::function<bool(const T&)> filter(std::function<void()> look)
    {
        if (!m_places.isFullNews)
        {
            look = [] {};
        }
        m_foreignEnds = 0;
        return filterFor<T>(m_places, [this, look = std::move(look)] {
            m_isFull = true;
            look();
        });
    }

    /// Those of the samples that may be handled. One without valid data has its key alone; the DDS library filters none
    /// of those and keeps an entry for each, so that many of them are worth a warning.
    dds::sub::LoanedSamples<T> sound(dds::sub::LoanedSamples<T> taken)
    {
        if (m_isFull.exchange(false) && m_places.isFullNews)
        {
            m_faults.warn(m_topicName, {}, "more instances than there is room for",
                          std::to_string(m_places.mostOthers));
        }
        const auto isSound = [this](const dds::sub::Sample<T>& sample) {
            return sample.info().valid() ? dds_::routing::faultOf(sample.data()).empty() : hasPlace(sample.data());
        };
        if (std::all_of(taken.begin(), taken.end(), isSound))
        {
            return taken;
        }
        std::vector<dds::sub::Sample<T>> samples;
        for (const auto& sample : taken)
        {
            if (isSound(sample))
            {
                samples.push_back(sample);
            }
            else
            {
                drop(sample);
            }
        }
        return dds::sub::LoanedSamples<T>(std::move(samples));
    }

private:
    /// Whether the handler may know the instance. Where the first ones have the places, an earlier reader may have let
    /// it in; they have small numbers, so that there cannot be many.
    bool hasPlace(const T& key) const { return !m_places.has || m_places.isFullNews || m_places.has(key); }

    void drop(const dds::sub::Sample<T>& sample)
    {
        std::string_view fault = "more ends of instances than it has places for";
        if (sample.info().valid())
        {
            fault = dds_::routing::faultOf(sample.data());
            countUnsound(fault);
        }
        else
        {
            countTurnedAway();
            if (++m_foreignEnds <= mostQuietEnds)
            {
                return;
            }
        }
        m_faults.warn(m_topicName, sample.info().publication_handle(), fault,
                      util::visibleText(dds_::routing::jsonText(sample.data())));
    }

    const std::string m_topicName;
    const Places<T> m_places;
    std::size_t m_foreignEnds = 0;     ///< since the latest reader was made
    std::atomic<bool> m_isFull{false}; ///< since the last look; set by filters, which go with their readers
    FaultLog m_faults;
};

} // namespace com::tallowcrest::routing
