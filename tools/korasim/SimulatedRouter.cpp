#include "tools/korasim/SimulatedRouter.h"

#include "runtime/apartment/Apartment.h"
#include "tools/korasim/DelayedSender.h"
#include "tools/korasim/RouterCore.h"

#include <utility>

namespace korasim
{

SimulatedRouter::SimulatedRouter(RouterOptions options, std::vector<std::shared_ptr<RouterObserver>> observers)
    : m_apartment(std::make_shared<com::tallowcrest::apartment::Apartment>("Korasim Apartment")),
      m_delayed(std::make_unique<DelayedSender>(m_apartment))
{
    m_apartment->start();
    run([&] {
        m_core = std::make_unique<RouterCore>(std::move(options), std::move(observers), m_apartment, *m_delayed);
    });
}

SimulatedRouter::~SimulatedRouter()
{
    // Nothing may run on the apartment while its objects go: what runs there sends through the delayed sender, too.
    m_apartment->stop();
    m_delayed.reset();
    m_core.reset();
}

void SimulatedRouter::run(const std::function<void()>& function) const
{
    runOn(*m_apartment, function);
}

void SimulatedRouter::announce()
{
    run([&] { m_core->announce(); });
}

void SimulatedRouter::reAnnounce(const std::optional<std::string>& partition)
{
    run([&] { m_core->reAnnounce(partition); });
}

void SimulatedRouter::disposeMember()
{
    run([&] { m_core->disposeMember(); });
}

void SimulatedRouter::vanish()
{
    run([&] { m_core->vanish(); });
}

void SimulatedRouter::publishRanges(Signal signal, const RouterMemberMacroXpts& ranges)
{
    run([&] { m_core->publishRanges(signal, ranges); });
}

void SimulatedRouter::disposeRanges(Signal signal, std::uint16_t memberIndex)
{
    run([&] { m_core->disposeRanges(signal, memberIndex); });
}

void SimulatedRouter::publishLevel(const MacroLevel& level)
{
    run([&] { m_core->publishLevel(level); });
}

void SimulatedRouter::disposeLevel(std::uint16_t levelId)
{
    run([&] { m_core->disposeLevel(levelId); });
}

void SimulatedRouter::setStatus(Signal signal, const MacroXptOutput& status)
{
    run([&] { m_core->setStatus(signal, status); });
}

void SimulatedRouter::setStatuses(Signal signal, const std::vector<MacroXptOutput>& statuses)
{
    run([&] {
        for (const auto& status : statuses)
        {
            m_core->setStatus(signal, status);
        }
    });
}

void SimulatedRouter::disposeStatus(Signal signal, std::uint32_t output)
{
    run([&] { m_core->disposeStatus(signal, output); });
}

void SimulatedRouter::localTarget(Signal signal, const MacroXptOutput& target)
{
    run([&] { m_core->localTarget(signal, target); });
}

void SimulatedRouter::setFollowing(bool isFollowing)
{
    run([&] { m_core->setFollowing(isFollowing); });
}

void SimulatedRouter::setStatusDelay(std::chrono::milliseconds delay)
{
    run([&] { m_core->setStatusDelay(delay); });
}

void SimulatedRouter::setRefused(Signal signal, std::uint32_t output, bool isRefused)
{
    run([&] { m_core->setRefused(signal, output, isRefused); });
}

std::vector<SimulatedRouter::MacroXptOutput> SimulatedRouter::currentStatus(Signal signal) const
{
    std::vector<MacroXptOutput> all;
    run([&] { all = m_core->currentStatus(signal); });
    return all;
}

std::optional<SimulatedRouter::MacroXptOutput> SimulatedRouter::lastTarget(Signal signal, std::uint32_t output) const
{
    std::optional<MacroXptOutput> last;
    run([&] { last = m_core->lastTarget(signal, output); });
    return last;
}

} // namespace korasim
