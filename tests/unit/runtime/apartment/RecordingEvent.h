#pragma once

#include "runtime/apartment/DoItEvent.h"

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

/// What a group of events did, in order. Thread-safe.
class EventRecord
{
public:
    void add(int number)
    {
        const std::lock_guard lock(m_mutex);
        m_numbers.push_back(number);
    }
    std::vector<int> numbers() const
    {
        const std::lock_guard lock(m_mutex);
        return m_numbers;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<int> m_numbers;
};

/// Records its number in one list when it runs and in another one when it is deleted; runs `work` in between.
class RecordingEvent final : public com::tallowcrest::apartment::DoItEvent
{
public:
    RecordingEvent(int number, EventRecord& ran, EventRecord& deleted, std::function<void()> work = {})
        : m_number(number), m_ran(ran), m_deleted(deleted), m_work(std::move(work))
    {}
    ~RecordingEvent() override { m_deleted.add(m_number); }

    void doIt() override
    {
        m_ran.add(m_number);
        if (m_work)
        {
            m_work();
        }
    }

private:
    int m_number;
    EventRecord& m_ran;
    EventRecord& m_deleted;
    std::function<void()> m_work;
};
