#pragma once

#include "tests/simulation/Events.h"

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

namespace simulation
{

/// The bus as the bridges see it: for each two of them, and for each and the router, a link. What one writer sends
/// arrives in order and late; what different writers send overtakes each other. A link that is cut keeps what is sent
/// for a while, as a reliable writer does; when the other side has been given up, what is under way is lost, and both
/// sides find each other anew once the link is mended, each in its own time.
class Network
{
public:
    /// Messages of one kind keep their order.
    enum class Kind : std::size_t
    {
        Target,
        Status,
        Rows
    };
    static constexpr std::size_t numKinds = 3;

    /// Called when `node` has found or lost `other`.
    using Discovery = std::function<void(std::size_t node, std::size_t other, bool isThere)>;

    Network(Events& events, std::size_t nodes, Time longestDelay, Discovery discovery);

    /// The node's process starts: it and all others that run find each other.
    void start(std::size_t node);
    /// It is gone, at once for itself, after a while for the others. What it has sent arrives, unless `isLost`.
    void end(std::size_t node, bool isLost);
    void cut(std::size_t one, std::size_t other);
    void mend(std::size_t one, std::size_t other);
    void mendAll();
    bool isCut(std::size_t one, std::size_t other) const { return link(one, other).isCut; }

    /// `arrive` runs at the receiver, or never.
    void send(std::size_t from, std::size_t to, Kind kind, std::function<void()> arrive);
    /// What was sent last, and has not arrived, is lost: its writer has been replaced.
    void dropUnderWay(std::size_t from, Kind kind);
    bool hasFound(std::size_t node, std::size_t other) const { return link(node, other).isFound; }

private:
    struct Link ///< from one node to another
    {
        bool isCut = false;
        bool isFound = false;                        ///< the sender knows the receiver
        std::uint64_t finding = 0;                   ///< counts what makes an earlier finding void
        std::array<std::uint64_t, numKinds> epoch{}; ///< counts what makes messages under way void
        std::array<Time, numKinds> lastArrival{};
        std::vector<std::pair<Kind, std::function<void()>>> held; ///< while cut, or not yet found by the receiver
    };

    Link& link(std::size_t from, std::size_t to) { return m_links[from * m_nodes + to]; }
    const Link& link(std::size_t from, std::size_t to) const { return m_links[from * m_nodes + to]; }
    void find(std::size_t node, std::size_t other);
    void lose(std::size_t node, std::size_t other);
    void deliver(std::size_t from, std::size_t to, Kind kind, std::function<void()> arrive);
    void release(std::size_t from, std::size_t to);

    Events& m_events;
    const std::size_t m_nodes;
    const Time m_longestDelay;
    const Discovery m_discovery;
    std::vector<Link> m_links;
    std::vector<bool> m_isRunning;
};

} // namespace simulation
