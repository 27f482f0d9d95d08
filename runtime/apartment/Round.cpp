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

void Round::enter() noexcept
{
    if (m_numEvents++ == 0)
    {
        threadsRound = this;
        if (m_bracket != nullptr)
        {
            m_bracket->begin();
        }
    }
}

void Round::end() noexcept
{
    if (m_numEvents == 0)
    {
        return;
    }
    if (m_bracket != nullptr)
    {
        m_bracket->end();
    }
    m_numEvents = 0;
    threadsRound = nullptr;
    const std::size_t numPutOff = std::exchange(m_numPutOff, 0);
    m_hasDelivered = m_hasDelivered || numPutOff > 0;
    for (std::size_t i = 0; i < numPutOff; ++i)
    {
        runEvent(std::move(m_putOff[i]));
    }
}

void Round::putOff(std::unique_ptr<DoItEvent> event) noexcept
{
    if (m_numPutOff == m_putOff.size())
    {
        end();
        enter(); // for the event that is still running
    }
    m_putOff[m_numPutOff++] = std::move(event);
}

} // namespace com::tallowcrest::apartment
