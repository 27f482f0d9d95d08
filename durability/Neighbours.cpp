#include "durability/Neighbours.h"

#include <algorithm>
#include <utility>

namespace com::tallowcrest::durability
{

namespace
{

constexpr std::size_t digestsKept = 32;

bool contains(const auto& all, const auto& one)
{
    return std::find(all.begin(), all.end(), one) != all.end();
}

} // namespace

std::vector<NeighbourId> Neighbours::ids() const
{
    std::vector<NeighbourId> ids;
    ids.reserve(m_all.size());
    for (const auto& [id, neighbour] : m_all)
    {
        ids.push_back(id);
    }
    return ids;
}

bool Neighbours::put(NeighbourId id, Status status, Time now)
{
    const auto found = m_all.find(id);
    if (found == m_all.end() || status.digests.size() != m_takenOver.size())
    {
        return false;
    }
    Neighbour& neighbour = found->second;
    neighbour.since.resize(m_takenOver.size(), now);
    for (std::size_t bucket = 0; neighbour.hasSpoken && bucket < m_takenOver.size(); ++bucket)
    {
        if (neighbour.status.digests[bucket] != status.digests[bucket])
        {
            neighbour.since[bucket] = now;
        }
    }
    neighbour.hasSpoken = true;
    neighbour.status = std::move(status);
    return true;
}

void Neighbours::takeOver(Bucket bucket, std::uint64_t digest)
{
    auto& known = m_takenOver[bucket];
    if (!contains(known, digest))
    {
        known.push_back(digest);
        if (known.size() > digestsKept)
        {
            known.pop_front();
        }
    }
}

bool Neighbours::isKnown(Bucket bucket, std::uint64_t digest, const std::vector<std::uint64_t>& digests) const
{
    // 0 is a bucket in which nothing is known.
    return digest == 0 || digest == digests[bucket] || contains(m_takenOver[bucket], digest);
}

bool Neighbours::isCovered(const Neighbour& neighbour, NeighbourId self,
                           const std::vector<std::uint64_t>& digests) const
{
    if (!neighbour.hasSpoken || !contains(neighbour.status.met, self))
    {
        return false;
    }
    for (Bucket bucket = 0; bucket < digests.size(); ++bucket)
    {
        if (!isKnown(bucket, neighbour.status.digests[bucket], digests))
        {
            return false;
        }
    }
    return true;
}

std::size_t Neighbours::uncovered(NeighbourId self, const std::vector<std::uint64_t>& digests) const
{
    return static_cast<std::size_t>(std::count_if(
        m_all.begin(), m_all.end(), [&](const auto& one) { return !isCovered(one.second, self, digests); }));
}

bool Neighbours::areCovered(NeighbourId self, const std::vector<std::uint64_t>& digests) const
{
    return uncovered(self, digests) == 0;
}

std::vector<Status::Want> Neighbours::missing(const std::vector<std::uint64_t>& digests, Time before,
                                              std::size_t attempt) const
{
    std::vector<Status::Want> wants;
    for (Bucket bucket = 0; bucket < digests.size(); ++bucket)
    {
        std::map<std::uint64_t, std::vector<NeighbourId>> holders;
        for (const auto& [id, neighbour] : m_all)
        {
            if (neighbour.hasSpoken && neighbour.since[bucket] <= before &&
                !isKnown(bucket, neighbour.status.digests[bucket], digests))
            {
                holders[neighbour.status.digests[bucket]].push_back(id);
            }
        }
        // Of more contents than there is room for, others are asked for each time.
        const std::size_t room = Status::mostWants / digests.size();
        std::size_t skipped = holders.size() > room ? attempt * room % holders.size() : 0;
        for (auto holder = holders.begin(); holder != holders.end() && wants.size() < (bucket + 1) * room; ++holder)
        {
            if (skipped > 0)
            {
                --skipped;
                continue;
            }
            const auto& ids = holder->second;
            wants.push_back({ids[attempt % ids.size()], bucket});
        }
    }
    return wants;
}

std::size_t Neighbours::rank(NeighbourId self) const
{
    return static_cast<std::size_t>(std::distance(m_all.begin(), m_all.lower_bound(self)));
}

std::set<NeighbourId> chooseNeighbours(const std::set<NeighbourId>& all, const std::set<NeighbourId>& bridges,
                                       const std::set<NeighbourId>& present)
{
    std::vector<NeighbourId> order(all.begin(), all.end());
    std::stable_partition(order.begin(), order.end(), [&](NeighbourId id) { return present.contains(id); });
    std::stable_partition(order.begin(), order.end(), [&](NeighbourId id) { return bridges.contains(id); });
    order.resize(std::min(order.size(), Neighbours::most));
    return {order.begin(), order.end()};
}

} // namespace com::tallowcrest::durability
