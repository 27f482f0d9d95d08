#include "runtime/apartment/Round.h"

#include "runtime/apartment/DoItEvent.h"

#include <utility>

namespace com::tallowcrest::apartment
{

namespace
{

thread_local Round* threadsRound = nullptr;

} // namespace

Round::Round(std::shared_ptr<RoundBracket> bracket) : m_bracket(std::move(bracket)) {}

Round::~Round()
{
    end();
}

Round* Round::current()
{
    return threadsRound;
}

void Round::run(const std::function<void()>& call) noexcept
{
    enter();
    runCall(call);
}

void Round::run(std::unique_ptr<DoItEvent> event) noexcept
{
    enter();
    DoItEvent& running = *event;
    m_events[m_numEvents++] = std::move(event);
    runEvent(running);
}

void Round::end() noexcept
{
    if (!m_isUnderWay)
    {
        return;
    }
    if (m_bracket != nullptr)
    {
        m_bracket->end();
    }
    m_isUnderWay = false;
    threadsRound = nullptr;
    const std::size_t numEvents = std::exchange(m_numEvents, 0);
    for (std::size_t i = 0; i < numEvents; ++i)
    {
        const std::unique_ptr<DoItEvent> event = std::move(m_events[i]);
        m_hasAnswered = m_hasAnswered || event->waiter() != nullptr;
        runAfterRound(*event);
    }
}

void Round::enter() noexcept
{
    if (!m_isUnderWay)
    {
        m_isUnderWay = true;
        threadsRound = this;
        if (m_bracket != nullptr)
        {
            m_bracket->begin();
        }
    }
}

} // namespace com::tallowcrest::apartment
