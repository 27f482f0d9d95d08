#pragma once

#include "runtime/apartment/Apartment.h"
#include "tests/support/WaitUntil.h"
#include "tools/korasim/RouterEnds.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Reads one topic in one partition, as a bridge would, and keeps what came. Thread-safe.
template <typename T>
class BusCollector
{
public:
    using Gone = std::pair<T, korasim::Liveness>;
    using Predicate = std::function<bool(const T&)>;

    BusCollector(const std::string& topicName, const std::string& routerPartition)
        : m_apartment(std::make_shared<com::tallowcrest::apartment::Apartment>("Collector Apartment")),
          m_sub(
              m_apartment, topicName,
              [this](const T& sample) {
                  const std::lock_guard lock(m_mutex);
                  m_data.push_back(sample);
              },
              [this](const T& sample, korasim::Liveness liveness) {
                  const std::lock_guard lock(m_mutex);
                  m_gone.emplace_back(sample, liveness);
              })
    {
        m_sub.joinRouterPartition(routerPartition);
        m_apartment->start();
    }
    ~BusCollector() { m_apartment->stop(); }
    BusCollector(const BusCollector&) = delete;
    BusCollector& operator=(const BusCollector&) = delete;

    std::vector<T> data() const
    {
        const std::lock_guard lock(m_mutex);
        return m_data;
    }

    /// The first sample that satisfies the predicate, waited for.
    std::optional<T> waitFor(const Predicate& predicate) const
    {
        std::optional<T> found;
        testsupport::waitUntil([&] {
            const std::lock_guard lock(m_mutex);
            for (const auto& sample : m_data)
            {
                if (predicate(sample))
                {
                    found = sample;
                    return true;
                }
            }
            return false;
        });
        return found;
    }

    /// How the first instance that ended and satisfies the predicate ended, waited for.
    std::optional<korasim::Liveness> waitForEnd(const Predicate& predicate) const
    {
        std::optional<korasim::Liveness> found;
        testsupport::waitUntil([&] {
            const std::lock_guard lock(m_mutex);
            for (const auto& [sample, liveness] : m_gone)
            {
                if (predicate(sample))
                {
                    found = liveness;
                    return true;
                }
            }
            return false;
        });
        return found;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<T> m_data;
    std::vector<Gone> m_gone;
    std::shared_ptr<com::tallowcrest::apartment::Apartment> m_apartment;
    korasim::SampleSub<T> m_sub;
};
