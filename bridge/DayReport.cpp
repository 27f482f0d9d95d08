#include "bridge/DayReport.h"

#include "runtime/apartment/ApartmentCall.h"
#include "runtime/util/Log.h"
#include "runtime/util/Metrics.h"

#include <string_view>
#include <utility>

namespace apartment = com::tallowcrest::apartment;
using com::tallowcrest::util::countOf;

namespace
{

constexpr std::string_view takeEntries = "korabridge_take_entries_total";
constexpr std::string_view lockEntries = "korabridge_lock_entries_total";
constexpr std::string_view done = R"(result="done")";

unsigned long long since(std::uint64_t last, std::uint64_t now)
{
    return now - last;
}

} // namespace

DayReport::Counts::Counts()
    : takes(countOf(takeEntries, done)),
      refusals(countOf(takeEntries) - takes + countOf(lockEntries) - countOf(lockEntries, done)),
      connections(countOf("korabridge_controllers_accepted_total")), joins(countOf("korabridge_join_seconds")),
      drops(countOf("korabridge_gate_dropped_total"))
{}

DayReport::DayReport(apartment::SendDoItEvent& apartment, std::shared_ptr<apartment::AlarmClock> clock)
    : m_alarm(std::move(clock), [this] { tell(); })
{
    // Alarms are set by the apartment.
    apartment::post(apartment, std::make_unique<apartment::ApartmentCallEvent<bool>>([this] {
                        m_alarm.set(m_alarm.now() + day);
                        return true;
                    }));
}

void DayReport::tell()
{
    m_alarm.set(m_alarm.now() + day);
    const Counts now;
    LOG_INFO_F(com::tallowcrest::util::bridgeLogger(),
               "The last 24 hours: %llu takes, %llu refusals, %llu connections, %llu joins, %llu samples dropped",
               since(m_last.takes, now.takes), since(m_last.refusals, now.refusals),
               since(m_last.connections, now.connections), since(m_last.joins, now.joins),
               since(m_last.drops, now.drops));
    m_last = now;
}
