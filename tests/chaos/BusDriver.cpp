#include "tests/chaos/BusDriver.h"

#include "tests/chaos/BusWatch.h"
#include "tests/chaos/World.h"

namespace chaos
{

namespace
{

constexpr int announcementsInARow = 100;

std::string text(std::uint32_t number)
{
    return std::to_string(number);
}

} // namespace

BusDriver::BusDriver(World& world, BusWatch& watch, std::uint64_t seed) : m_world(world), m_watch(watch), m_dice(seed)
{
    m_watch.follow(m_partition);
    m_router.start(m_partition);
}

void BusDriver::perform(const std::vector<Step<BusAct>>& steps, const Stopper& stopper)
{
    for (const auto& step : steps)
    {
        if (!stopper.pause(step.wait))
        {
            return;
        }
        m_world.answers.setCircumstance(nameOf(step.act));
        ++m_performed[step.act];
        if (interruptsBus(step.act))
        {
            interrupt(step, stopper);
        }
        else
        {
            perform(step, stopper);
        }
    }
}

void BusDriver::perform(const Step<BusAct>& step, const Stopper& stopper)
{
    switch (step.act)
    {
    case BusAct::ReAnnounce:
        reAnnounce();
        break;
    case BusAct::ReAnnounceThrice:
        reAnnounce();
        reAnnounce();
        reAnnounce();
        break;
    case BusAct::ReAnnounceInARow:
        for (int i = 0; i < announcementsInARow; ++i)
        {
            reAnnounce();
        }
        break;
    case BusAct::DisposeMember:
        m_router.command("dispose-member");
        break;
    case BusAct::DropRanges:
        dropRanges(step, stopper);
        break;
    case BusAct::DropLevel:
        dropLevel(step, stopper);
        break;
    case BusAct::Status:
        publishStatus();
        break;
    case BusAct::DisposeStatus:
        m_router.command("dispose-status " + someOutput());
        break;
    case BusAct::Burst:
        burst(m_world.nextNumber++);
        break;
    default:
        m_router.command("local-target " + someOutput() + " " + text(m_dice.between(1, 288)));
        break;
    }
}

void BusDriver::interrupt(const Step<BusAct>& step, const Stopper& stopper)
{
    m_world.changes.interrupt();
    m_world.changes.rejoins(Clock::now());
    switch (step.act)
    {
    case BusAct::Move:
        m_partition = m_partition == firstPartition ? secondPartition : firstPartition;
        m_watch.follow(m_partition);
        m_router.command("reannounce " + m_partition);
        stopper.pause(step.duration);
        break;
    case BusAct::Kill:
        m_router.kill();
        stopper.pause(step.duration);
        m_router.start(m_partition);
        break;
    case BusAct::Vanish:
        m_router.command("vanish");
        stopper.pause(step.duration);
        m_router.command("announce");
        break;
    default:
        // From time to time in the middle of a join.
        if (step.number % 2 == 0)
        {
            m_router.command("reannounce");
        }
        m_router.stop();
        stopper.pause(step.duration);
        m_router.proceed();
        break;
    }
    m_world.changes.resume(step.act == BusAct::Stop, Clock::now());
}

void BusDriver::burst(std::uint32_t number)
{
    m_router.command("burst audio 1 2304 " + text(m_dice.between(1, 2304)) + " " + text(number));
    m_router.command("burst video 1 288 " + text(m_dice.between(1, 288)) + " " + text(number));
}

void BusDriver::reAnnounce()
{
    m_world.changes.rejoins(Clock::now());
    m_router.command("reannounce");
}

void BusDriver::dropRanges(const Step<BusAct>& step, const Stopper& stopper)
{
    const bool isVideo = step.number % 2 == 0;
    const std::string signal = isVideo ? "video" : "audio";
    const std::string size = isVideo ? "288" : "2304";
    // A second member comes and goes as well.
    m_router.command("ranges " + signal + " 1 1 16 1 16");
    m_router.command("dispose-ranges " + signal + " 0");
    stopper.pause(step.duration);
    m_router.command("ranges " + signal + " 0 1 " + size + " 1 " + size);
    m_router.command("dispose-ranges " + signal + " 1");
}

void BusDriver::dropLevel(const Step<BusAct>& step, const Stopper& stopper)
{
    // Levels beside the two that are always there.
    const std::string level = text(3 + step.number % 4);
    m_router.command("level " + level + " video 1 16 1 1 16 1");
    stopper.pause(step.duration);
    m_router.command("dispose-level " + level);
}

void BusDriver::publishStatus()
{
    for (std::uint32_t i = m_dice.between(1, 5); i > 0; --i)
    {
        m_router.command("status " + someOutput() + " " + text(m_dice.between(1, 288)) + " " +
                         text(m_world.nextNumber++) + (i % 2 == 0 ? " locked" : " released"));
    }
}

std::string BusDriver::someOutput()
{
    return m_dice.between(0, 1) == 0 ? "video " + text(m_dice.between(1, 288))
                                     : "audio " + text(m_dice.between(1, 2304));
}

} // namespace chaos
