#pragma once

#include "buswrappers/RouterMemberMgr.h"
#include "runtime/apartment/AlarmClock.h"
#include "runtime/apartment/Presence.h"
#include "runtime/util/FailureLog.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class Server;

/// A part of the bridge that lives in a router's partition. Apartment-bound.
class IPartitionBound
{
public:
    IPartitionBound() = default;
    virtual ~IPartitionBound() = default;
    IPartitionBound(const IPartitionBound&) = delete;
    IPartitionBound& operator=(const IPartitionBound&) = delete;

    /// A join of that partition follows, when those in front have joined: what it waits for may be waited for from now
    /// on. Perhaps another one is asked for instead.
    virtual void expectToJoin(const std::string& /*routerPartition*/) {}
    /// Moves into the partition; called again for the same one to refresh what is read and written there.
    virtual void joinRouterPartition(const std::string& routerPartition) = 0;
    /// The same. `joined`, on the apartment, says that all of it has been done: at once, or later in a part that waits
    /// for others. Not when the part throws, leaves or joins once more.
    virtual void beginToJoin(const std::string& routerPartition, const std::function<void()>& joined)
    {
        joinRouterPartition(routerPartition);
        joined();
    }
    /// Moves out of every router's partition.
    virtual void leaveRouterPartition() = 0;
};

/// Moves every part of the bridge that lives in a router's partition, and the controller server last: levels and
/// crosspoints are in the partition before a controller can connect, and the server is the last to hear that the router
/// is gone. A part that waits holds up those behind it and nobody else.
///
/// However many joins are asked for, one is under way and one more follows, to the last partition asked for, and they
/// begin at least `joinInterval` apart; after a quiet second a join begins at once.
///
/// When a part throws, the join goes on with that part after `repeatsAfter`, until it succeeds or another one is asked
/// for. If the server is open for another partition it is told to leave at once. The first failure is logged at WARN,
/// repeats are counted.
///
/// Owned by the Director, called by the router member manager. Apartment-bound.
class RouterMembers : public com::tallowcrest::routing::IRouterMember
{
public:
    static constexpr std::chrono::seconds joinInterval{1};
    static constexpr std::chrono::milliseconds repeatsAfter{500};

    /// The parts move in the order given; `clock` is the apartment's.
    RouterMembers(std::vector<std::shared_ptr<IPartitionBound>> parts, std::shared_ptr<Server> server,
                  std::shared_ptr<com::tallowcrest::apartment::AlarmClock> clock);
    ~RouterMembers() override;

    // IRouterMember
    void joinRouterPartition(std::string routerPartition) override;
    void leaveRouterPartition() override;

private:
    using TimePoint = com::tallowcrest::apartment::AlarmClock::Clock::time_point;
    struct Failed
    {
        std::size_t part = 0;
        TimePoint due; ///< when it is tried again
    };

    /// Begins what is to be done next, or sets the alarm for it.
    void goOn();
    void step(std::size_t part, std::uint64_t join);
    void expect();
    void fail(std::size_t part, std::uint64_t join, const char* reason);
    void end();

    const std::vector<std::shared_ptr<IPartitionBound>> m_parts;
    const std::shared_ptr<Server> m_server;
    std::uint64_t m_join = 0; ///< counts them
    bool m_isJoining = false;
    std::string m_routerPartition;        ///< of the last join that has begun
    std::optional<TimePoint> m_begun;     ///< when it did
    std::optional<std::string> m_next;    ///< to be joined after it
    std::optional<Failed> m_failed;       ///< where it is to be taken up again
    std::optional<std::string> m_openFor; ///< what controllers are served for
    com::tallowcrest::util::FailureLog m_failures;
    com::tallowcrest::apartment::Alarm m_alarm;
    const com::tallowcrest::apartment::Presence<RouterMembers> m_presence; ///< for parts that wait
};
