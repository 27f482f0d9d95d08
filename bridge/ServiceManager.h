#pragma once

#include "runtime/apartment/AlarmClock.h"
#include "runtime/apartment/DoItEvent.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

/// Tells the service manager that started the bridge (systemd) when it is ready and how it is, and feeds
/// its watchdog. All of that from the apartment: an apartment that hangs is noticed, and the bridge ended and started
/// again. Silent when no service manager asks. Made on the main thread when everything has been started; it ends when
/// the apartment has stopped.
class ServiceManager
{
public:
    /// Without a watchdog, and at most with one.
    static constexpr std::chrono::milliseconds usualInterval{5000};
    static constexpr std::chrono::milliseconds readyInterval{20};
    /// A bridge is ready without what is not there by then: controllers come first.
    static constexpr std::chrono::seconds readyLimit{5};

    /// Both are called on the apartment: whether operators and controllers find everything in its place, and one line
    /// that says what matters.
    struct Questions
    {
        std::function<bool()> isUp;
        std::function<std::string()> status;
    };

    ServiceManager(com::tallowcrest::apartment::SendDoItEvent& apartment,
                   std::shared_ptr<com::tallowcrest::apartment::AlarmClock> clock, Questions questions);
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;

    /// Tells that the bridge is about to stop. Any thread.
    static void stopping();

private:
    using TimePoint = com::tallowcrest::apartment::AlarmClock::Clock::time_point;

    void tell();

    const Questions m_questions;
    std::chrono::milliseconds m_interval = usualInterval;
    bool m_isReady = false;
    TimePoint m_readyAnyway{};
    std::string m_status; ///< as told last
    com::tallowcrest::apartment::Alarm m_alarm;
};
