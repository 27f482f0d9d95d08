#include "tests/fuzz/bus/CheckNeighbours.h"

#include "bustypes/RoutingTypes.h"
#include "bustypes/SampleText.h"
#include "buswrappers/DurableTopic.h"
#include "durability/ChannelCore.h"
#include "tests/fuzz/support/Require.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace fuzz
{

namespace
{

namespace durability = com::tallowcrest::durability;
namespace routing = com::tallowcrest::dds_::routing;
using durability::Bucket;
using durability::BucketRows;
using durability::ChannelCore;
using durability::Decision;
using durability::Instance;
using durability::NeighbourId;
using durability::SourceTime;
using durability::Status;
using Time = ChannelCore::Time;

constexpr Instance video = 288;
constexpr Instance audio = 2304;
constexpr NeighbourId self = 1;
constexpr std::size_t mostWants = 4096; ///< of one status on the bus
constexpr SourceTime start = durability::earliestSane + 1'000'000'000;

/// One core, and everybody who talks to it.
class Partition
{
public:
    explicit Partition(Feed& feed)
        : m_feed(feed), m_greatest(feed.coin() ? audio : video),
          m_codec(com::tallowcrest::routing::durableCodec<routing::MacroXptOutput>()),
          m_sut({.greatest = m_greatest, .self = self, .isShared = feed.coin(), .started = {}, .rules = m_codec.rules},
                m_clock)
    {}

    void run()
    {
        constexpr int mostSteps = 120;
        m_sut.storeTried();
        for (int step = 0; step < mostSteps && !m_feed.isEmpty(); ++step)
        {
            act();
            check();
        }
        joinAmongTalkers();
        require(m_clock.next(m_now.wall) <= m_now.wall + durability::farthestAhead + mostSteps * 64,
                "nobody moves the clock far");
    }

private:
    NeighbourId neighbour() { return m_feed.coin() ? m_feed.upTo(7) : m_feed.next<NeighbourId>(); }
    Instance instance() { return m_feed.number() % (2 * m_greatest); }

    SourceTime time()
    {
        switch (m_feed.upTo(2))
        {
        case 0:
            return m_now.wall - m_feed.next<std::uint16_t>();
        case 1:
            return m_now.wall + durability::farthestAhead - 100 + m_feed.next<std::uint8_t>();
        default:
            return m_feed.next<SourceTime>();
        }
    }

    /// As the recorder takes a row: what is no value of its instance is left out.
    bool nextDecision(Instance instance, Decision& decision)
    {
        decision.written = time();
        decision.content = m_feed.coin() ? m_feed.text()
                                         : routing::jsonText(routing::MacroXptOutput{.macroXptOutput = instance,
                                                                                     .macroXptInput = m_feed.number(),
                                                                                     .when = m_feed.number(),
                                                                                     .lprId = m_feed.number()});
        return m_codec.normalize(decision.content, instance);
    }

    Status nextStatus()
    {
        Status status;
        const std::uint32_t digests = m_feed.coin() ? m_buckets : m_feed.next<std::uint16_t>() % 1024U;
        for (std::uint32_t i = 0; i < digests; ++i)
        {
            status.digests.push_back(m_feed.upTo(15));
        }
        for (std::uint32_t i = m_feed.upTo(20); i > 0; --i)
        {
            status.met.push_back(neighbour());
            status.wants.push_back({m_feed.coin() ? self : neighbour(), m_feed.number() % (2 * m_buckets)});
        }
        return status;
    }

    void hearStatus()
    {
        const NeighbourId from = neighbour(); // the order of arguments is the compiler's
        m_sut.heard(from, nextStatus(), m_now);
    }

    BucketRows nextRows()
    {
        BucketRows rows{.bucket = m_feed.number() % (2 * m_buckets), .digest = m_feed.upTo(15), .rows = {}};
        for (std::uint32_t i = m_feed.upTo(8); i > 0; --i)
        {
            BucketRows::Row row{.instance = instance(), .decision = {}};
            if (nextDecision(row.instance, row.decision))
            {
                rows.rows.push_back(std::move(row));
            }
        }
        return rows;
    }

    void act()
    {
        Decision decision;
        switch (const Instance which = instance(); m_feed.upTo(11))
        {
        case 0:
        case 1:
            m_sut.neighbourCame(neighbour(), m_now);
            break;
        case 2:
            m_sut.neighbourWent(neighbour(), m_now);
            break;
        case 3:
        case 4:
            hearStatus();
            break;
        case 5:
            m_sut.heard(nextRows(), m_now);
            break;
        case 6:
            if (nextDecision(which, decision))
            {
                m_sut.seen(which, std::move(decision), m_now);
            }
            break;
        case 7:
            decide(which);
            break;
        case 8:
            m_sut.join(++m_ticket, m_now);
            break;
        case 9:
            m_sut.readerCame(m_now);
            break;
        case 10:
            crowd();
            break;
        default:
            advance(Time(m_feed.next<std::uint32_t>() % 2'000'000));
            break;
        }
    }

    /// The bridge's own.
    void decide(Instance instance)
    {
        const routing::MacroXptOutput value{.macroXptOutput = instance % (m_greatest + 1),
                                            .macroXptInput = m_feed.number()};
        m_sut.decided(value.macroXptOutput, {.written = m_clock.next(m_now.wall), .content = routing::jsonText(value)},
                      m_now.steady, m_now);
    }

    /// Many, each of whom says something else; once, because they make everything slow.
    void crowd()
    {
        const std::uint32_t first = m_feed.number();
        const std::uint32_t count = std::exchange(m_isCrowded, true) ? 0 : 300;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            const NeighbourId id = std::uint64_t{first} + i * std::uint64_t{977};
            m_sut.neighbourCame(id, m_now);
            m_sut.heard(id, {.digests = std::vector<std::uint64_t>(m_buckets, id), .met = {self}, .wants = {}}, m_now);
        }
    }

    void advance(Time time)
    {
        m_now.steady += time;
        m_now.wall += time.count();
        m_sut.tick(m_now);
    }

    void check()
    {
        const auto effects = m_sut.takeEffects(m_now);
        for (const auto* list : {&effects.remember, &effects.store, &effects.publish, &effects.adopt})
        {
            require(list->size() <= m_greatest + 1, "each instance is listed once");
            for (const Instance instance : *list)
            {
                require(m_sut.known(instance) != nullptr, "what is to be done concerns what is known");
            }
        }
        for (const Bucket bucket : effects.handOver)
        {
            require(bucket < m_buckets, "a bucket that exists is handed over");
            for (const auto& row : m_sut.rows(bucket).rows)
            {
                require(row.instance / durability::bucketSize == bucket, "with its rows");
                require(durability::isBelievable(row.decision.written, m_now.wall), "of sane times");
            }
        }
        m_completed = effects.completed ? effects.completed->ticket : m_completed;
        const Status status = m_sut.status();
        require(status.digests.size() == m_buckets && status.met.size() <= durability::Neighbours::most,
                "a status is of the channel's size");
        require(status.wants.size() <= mostWants, "a status fits on the bus");
        require(m_sut.size() <= m_greatest + 1 && m_sut.history().size() <= m_sut.size(), "no other instances exist");
    }

    /// A join while somebody new comes and says something else all the time.
    void joinAmongTalkers()
    {
        m_sut.join(++m_ticket, m_now);
        constexpr Time step{200'000};
        constexpr Time longest = ChannelCore::longestSettling + ChannelCore::neighboursAnswer + 2 * step;
        for (Time waited{}; waited <= longest && m_completed != m_ticket; waited += step)
        {
            const auto id = static_cast<NeighbourId>(1'000'000 + waited.count());
            m_sut.participantCame(m_now.steady);
            m_sut.neighbourCame(id, m_now);
            m_sut.heard(id, {.digests = std::vector<std::uint64_t>(m_buckets, id), .met = {}, .wants = {}}, m_now);
            advance(step);
            check();
        }
        require(m_completed == m_ticket, "a join ends in time");
    }

    Feed& m_feed;
    const Instance m_greatest;
    const Bucket m_buckets = m_greatest / durability::bucketSize + 1;
    const durability::TypeCodec& m_codec;
    durability::HybridClock m_clock;
    ChannelCore m_sut;
    ChannelCore::Now m_now{.steady = Time(10'000'000), .wall = start};
    bool m_isCrowded = false;
    std::uint64_t m_ticket = 0;
    std::uint64_t m_completed = 0;
};

} // namespace

void checkNeighbours(Feed& feed)
{
    Partition(feed).run();
}

} // namespace fuzz
