#pragma once

#include "durability/Decision.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <vector>

namespace com::tallowcrest::durability
{

/// Names one life of one participant.
using NeighbourId = std::uint64_t;

/// Instances are compared by the bucket: one number stands for all decisions in it.
using Bucket = std::uint32_t;
inline constexpr Instance bucketSize = 64;

/// What one bridge tells all others of a channel: the whole of it each time, so that only the last one counts.
struct Status
{
    struct Want
    {
        NeighbourId of = 0; ///< whose bucket is wanted
        Bucket bucket = 0;

        bool operator==(const Want&) const = default;
    };
    static constexpr std::size_t mostWants = 4096; ///< that the bus carries at once

    std::vector<std::uint64_t> digests; ///< by bucket
    std::vector<NeighbourId> met;       ///< whom the sender had discovered when it was made
    std::vector<Want> wants;
};

/// The decisions of one bucket, as one bridge knows them.
struct BucketRows
{
    struct Row
    {
        Instance instance = 0;
        Decision decision;
    };

    Bucket bucket = 0;
    std::uint64_t digest = 0; ///< of the sender's bucket
    std::vector<Row> rows;
};

/// Who else keeps a channel, what each said last, and whose decisions have been taken over already. Not thread-safe;
/// no clock of its own.
class Neighbours
{
public:
    using Time = std::chrono::microseconds;

    /// More than these are not waited for; a partition has a bridge for each frame.
    static constexpr std::size_t most = 256;

    explicit Neighbours(std::size_t buckets) : m_takenOver(buckets) {}

    /// False when it is known already or there are too many.
    bool add(NeighbourId id) { return m_all.size() < most && m_all.try_emplace(id).second; }
    void remove(NeighbourId id) { m_all.erase(id); }
    bool knows(NeighbourId id) const { return m_all.contains(id); }
    std::vector<NeighbourId> ids() const;
    std::size_t size() const { return m_all.size(); }

    /// Keeps the last status of a neighbour. False when it is of nobody known or of another size than the channel.
    bool put(NeighbourId id, Status status, Time now);
    /// The rows behind `digest` have been taken over, from whomever.
    void takeOver(Bucket bucket, std::uint64_t digest);

    /// True when all have said what they know since they met `self`, and nothing of it is missing here.
    bool areCovered(NeighbourId self, const std::vector<std::uint64_t>& digests) const;
    /// How many are not yet covered.
    std::size_t uncovered(NeighbourId self, const std::vector<std::uint64_t>& digests) const;
    /// What to ask for: of each digest that is not known here one neighbour that has it, another one each time that
    /// `attempt` grows. Only differences that have stood since `before`, on their side.
    std::vector<Status::Want> missing(const std::vector<std::uint64_t>& digests, Time before,
                                      std::size_t attempt) const;
    /// How many of them come before `self` in the order of their names.
    std::size_t rank(NeighbourId self) const;

private:
    struct Neighbour
    {
        bool hasSpoken = false;
        Status status;
        std::vector<Time> since; ///< by bucket: when this digest was first heard
    };

    bool isKnown(Bucket bucket, std::uint64_t digest, const std::vector<std::uint64_t>& digests) const;
    bool isCovered(const Neighbour& neighbour, NeighbourId self, const std::vector<std::uint64_t>& digests) const;

    std::map<NeighbourId, Neighbour> m_all;
    std::vector<std::deque<std::uint64_t>> m_takenOver; ///< by bucket, the last few
};

/// Of more than `Neighbours::most` so many: the `bridges` first, then those that are `present`, then the others in the
/// order of their names.
std::set<NeighbourId> chooseNeighbours(const std::set<NeighbourId>& all, const std::set<NeighbourId>& bridges,
                                       const std::set<NeighbourId>& present);

} // namespace com::tallowcrest::durability
