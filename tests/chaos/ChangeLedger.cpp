#include "tests/chaos/ChangeLedger.h"

#include "tests/chaos/Verdict.h"

#include <algorithm>
#include <utility>

namespace chaos
{

namespace
{

std::string describe(const ChangeLedger::Status& status)
{
    return "(result " + std::to_string(static_cast<int>(status.result)) + ", input " + std::to_string(status.input) +
           ", state " + std::to_string(status.lprState) + ", holder " + std::to_string(status.lprId) + ")";
}

} // namespace

std::size_t ChangeLedger::addPoller(std::string name, Detail detail)
{
    const std::lock_guard lock(m_mutex);
    m_pollers.push_back({std::move(name), detail});
    return m_pollers.size() - 1;
}

void ChangeLedger::reported(std::size_t poller, const Crosspoint& crosspoint, const Status& status)
{
    const std::lock_guard lock(m_mutex);
    auto& known = m_pollers[poller].of(crosspoint.signal);
    if (crosspoint.output == 0 || crosspoint.output >= known.size())
    {
        m_verdict.violation("change",
                            m_pollers[poller].name + " was told of " + crosspoint.text() + ", which does not exist");
        return;
    }
    known[crosspoint.output] = status;
    ++m_figures.reported;
}

void ChangeLedger::walked(std::size_t poller, Signal signal, Clock::time_point begin)
{
    const std::lock_guard lock(m_mutex);
    if (m_isInterrupted)
    {
        return;
    }
    Poller& who = m_pollers[poller];
    auto& outputs = of(signal);
    for (std::uint32_t output = 1; output < outputs.size(); ++output)
    {
        OnBus& onBus = outputs[output];
        const std::uint32_t bit = 1U << poller;
        if (!onBus.isComparable || (onBus.compared & bit) != 0)
        {
            continue;
        }
        const Status& known = who.of(signal)[output];
        if (isSame(known, onBus.status, who.detail))
        {
            onBus.compared |= bit;
            ++m_figures.compared;
        }
        else if (begin - onBus.when >= m_bound)
        {
            onBus.compared |= bit;
            m_verdict.violation("change", who.name + " has not learnt of " + Crosspoint{signal, output}.text() +
                                              ", which is " + describe(onBus.status) + " since " +
                                              milliseconds(begin - onBus.when) + "; it knows " + describe(known));
        }
    }
}

bool ChangeLedger::isSame(const Status& known, const Status& onBus, Detail detail)
{
    const bool isSameRoute = known.result == onBus.result && (onBus.result != 0 || known.input == onBus.input);
    return isSameRoute &&
           (detail == Detail::InputOnly || (known.lprState == onBus.lprState && known.lprId == onBus.lprId));
}

void ChangeLedger::published(const Crosspoint& crosspoint, const Status& status, Clock::time_point when)
{
    const std::lock_guard lock(m_mutex);
    auto& outputs = of(crosspoint.signal);
    if (crosspoint.output == 0 || crosspoint.output >= outputs.size())
    {
        return;
    }
    OnBus& onBus = outputs[crosspoint.output];
    if (onBus.isComparable && onBus.compared != allPollers())
    {
        ++m_figures.superseded;
    }
    if (m_mark == status.lprId && !onBus.isMarked)
    {
        onBus.isMarked = true;
        ++m_figures.marked;
    }
    onBus = {status, when, true, false, onBus.isMarked, 0};
    ++m_figures.published;
}

void ChangeLedger::disposed(const Crosspoint& crosspoint, const Status& status, Clock::time_point when)
{
    published(crosspoint, status, when);
    const std::lock_guard lock(m_mutex);
    auto& outputs = of(crosspoint.signal);
    if (crosspoint.output < outputs.size())
    {
        outputs[crosspoint.output].isDisposed = true;
        outputs[crosspoint.output].isComparable = when - m_lastRejoin > m_bound;
    }
}

void ChangeLedger::rejoins(Clock::time_point when)
{
    const std::lock_guard lock(m_mutex);
    m_lastRejoin = when;
    for (auto* outputs : {&m_video, &m_audio})
    {
        for (OnBus& onBus : *outputs)
        {
            onBus.isComparable = onBus.isComparable && !onBus.isDisposed;
        }
    }
}

void ChangeLedger::forget(const Crosspoint& crosspoint)
{
    const std::lock_guard lock(m_mutex);
    auto& outputs = of(crosspoint.signal);
    if (crosspoint.output < outputs.size())
    {
        outputs[crosspoint.output].isComparable = false;
    }
}

void ChangeLedger::interrupt()
{
    const std::lock_guard lock(m_mutex);
    m_isInterrupted = true;
}

void ChangeLedger::resume(bool isMerelyHeldUp, Clock::time_point when)
{
    const std::lock_guard lock(m_mutex);
    m_isInterrupted = false;
    for (auto* outputs : {&m_video, &m_audio})
    {
        for (OnBus& onBus : *outputs)
        {
            onBus.when = std::max(onBus.when, when);
            onBus.isComparable = onBus.isComparable && isMerelyHeldUp;
        }
    }
}

void ChangeLedger::mark(std::uint32_t lprId)
{
    const std::lock_guard lock(m_mutex);
    m_mark = lprId;
    m_figures.marked = 0;
    for (auto* outputs : {&m_video, &m_audio})
    {
        for (OnBus& onBus : *outputs)
        {
            onBus.isMarked = false;
        }
    }
}

std::size_t ChangeLedger::open() const
{
    const std::lock_guard lock(m_mutex);
    std::size_t count = 0;
    for (const auto* outputs : {&m_video, &m_audio})
    {
        count += static_cast<std::size_t>(std::count_if(outputs->begin(), outputs->end(), [this](const OnBus& onBus) {
            return onBus.isComparable && onBus.compared != allPollers();
        }));
    }
    return count;
}

ChangeLedger::Figures ChangeLedger::figures() const
{
    const std::lock_guard lock(m_mutex);
    return m_figures;
}

} // namespace chaos
