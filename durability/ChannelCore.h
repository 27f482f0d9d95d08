#pragma once

#include "durability/Decision.h"
#include "durability/Neighbours.h"
#include "durability/SourceTime.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace com::tallowcrest::durability
{

/// Decides all that there is to decide about the durable targets of one topic in one partition: which decision is the
/// newest of each instance, what to store, to publish, to put into the bridge's table, to tell and ask the neighbours,
/// and when history is complete. It has no thread, no clock, no file and no bus: what happens is told to it, with the
/// time, and what is to be done is asked of it after each call (`takeEffects`). Owned by one thread.
///
/// Three rules carry it:
/// - of two decisions the later one counts, by the same comparison everywhere;
/// - who has published something older than what it knows publishes what it knows, so that the last word of each bridge
///   about an instance is the newest that it has heard of;
/// - bridges compare digests, and ask for what differs.
class ChannelCore
{
public:
    using Time = std::chrono::microseconds;

    struct Now
    {
        Time steady{};       ///< never steps
        SourceTime wall = 0; ///< the machine's clock
    };

    struct Settings
    {
        Instance greatest = 0; ///< greater ones do not exist
        NeighbourId self = 0;
        bool isShared = false; ///< the bridge's table follows the decisions of others
        Time started{};        ///< when this participant came onto the bus
        ContentRules rules{};
    };

    // How long it waits. A participant is discovered within some 200 ms on a network that works.
    static constexpr Time settlesAfterStart{300'000};
    static constexpr Time settlesAfterNewcomer{120'000};
    static constexpr Time longestSettling{350'000};
    static constexpr Time neighboursAnswer{1'000'000}; ///< all together, once it has settled
    static constexpr Time storeAnswers{20'000'000};    ///< then the join goes on without it
    static constexpr Time expected{20'000'000};        ///< a join that was announced
    static constexpr Time asksAgain{300'000};          ///< another one
    static constexpr Time answersAgain{100'000};       ///< the same bucket
    static constexpr Time tellsAgain{1'000'000};       ///< of what has changed by takes only
    static constexpr Time tellsUrgently{20'000};       ///< at most that often
    static constexpr Time differenceStands{1'500'000}; ///< before it is asked for while nobody waits
    static constexpr Time overtakes{5'000'000};        ///< how late a decision on the bus can still arrive
    static constexpr Time repeatsAfterEach{250'000};   ///< neighbour that should have
    static constexpr Time newsAnswers{700'000};        ///< of those who came with a late reader
    static constexpr std::size_t lastRank = 3;

    /// `clock` gives each write of this process its time, and is told of every other.
    ChannelCore(const Settings& settings, HybridClock& clock);

    // What happens.

    /// The bridge is about to join: what the join waits for is waited for from now on, for `expected` at most.
    void expectJoin(const Now& now);
    /// The bridge has joined, once more perhaps: it wants history. `ticket` names the join.
    void join(std::uint64_t ticket, const Now& now);
    /// The bridge has decided and published, at `earliest` at the earliest. To be told before anything that others say.
    void decided(Instance instance, Decision decision, Time earliest, const Now& now);
    /// The bridge has published history. The same.
    void published(Instance instance, Decision decision, Time earliest, const Now& now);
    /// Somebody else has published on the topic itself.
    void seen(Instance instance, Decision decision, const Now& now);
    /// A row of the store, or of what an earlier life left in memory.
    enum class Kept
    {
        Store,
        Memory
    };
    void loaded(Instance instance, Decision decision, Kept where, const Now& now);
    /// All rows have been loaded that can be.
    void storeTried() { m_isStoreTried = true; }
    /// A participant was discovered, whether it keeps the channel or not.
    void participantCame(Time at) { m_newcomer = std::max(m_newcomer, at); }
    void neighbourCame(NeighbourId id, const Now& now);
    void neighbourWent(NeighbourId id, const Now& now);
    void heard(NeighbourId from, Status status, const Now& now);
    void heard(const BucketRows& rows, const Now& now);
    /// Somebody began to read the topic who asks for what was published before.
    void readerCame(const Now& now);
    /// Time has passed.
    void tick(const Now& now);

    // What is to be done.

    struct Completed
    {
        std::uint64_t ticket = 0;
        std::size_t silent = 0; ///< neighbours that were waited for in vain
    };
    struct Effects
    {
        std::vector<Instance> remember; ///< to be kept in memory
        std::vector<Instance> store;    ///< to be kept in the store
        std::vector<Instance> publish;  ///< what is known, with its own time
        std::vector<Instance> adopt;    ///< for the bridge's table
        std::vector<Bucket> handOver;   ///< `rows` to the neighbours
        bool isStatusNew = false;       ///< `status` to the neighbours
        std::optional<Completed> completed;
    };
    /// Since the last call. What is to be published counts as published.
    Effects takeEffects(const Now& now);
    /// Readers that had not noticed the bridge's writer yet may have missed what was decided since the join.
    void repeatDecided();
    /// The bus refused it; it is to be published again.
    void notPublished(Instance instance);
    /// Whether `tick` is wanted within milliseconds; otherwise a few times a second will do.
    bool isInHurry() const;
    std::size_t neighbours() const { return m_neighbours.size(); }

    /// Null when nothing is known of it.
    const Decision* known(Instance instance) const;
    std::size_t size() const { return m_size; }
    /// What a join brings: everything known but what the bridge has decided itself since.
    std::vector<Instance> history() const;
    Status status() const;
    BucketRows rows(Bucket bucket) const;

    /// All that is known goes to the store and into memory once more: one of them has been lost.
    void keepAgain();

    /// Decisions that no sane clock has made, and instances that do not exist; since the last call.
    std::size_t takeRefused() { return std::exchange(m_numRefused, 0); }

private:
    enum class Source
    {
        Here,
        Topic,
        Neighbour,
        Store,
        Memory
    };
    struct Entry
    {
        Decision decision;
        SourceTime published = -1; ///< the decision that this bridge published last
        Time publishedAt{};
        Time onBusAt{-1}; ///< when anybody published what is known, or something newer than what was known
        bool isKnown = false;
        bool isDecidedHere = false; ///< since the join
        bool isToAdopt = false;     ///< these four: listed in m_effects
        bool isToStore = false;
        bool isToPublish = false;
        bool isToRemember = false;
    };

    void learn(Instance instance, Decision decision, Source source, const Now& now);
    void learnHere(Instance instance, Decision decision, Time earliest, const Now& now);
    void replace(Instance instance, Decision decision, Source source);
    void spread(Instance instance, Source source, const Now& now);
    void publish(Instance instance);
    void adopt(Instance instance);
    void store(Instance instance);
    void remember(Instance instance);
    std::uint64_t digestOf(Instance instance) const;
    int order(const Decision& left, const Decision& right) const;
    void beginToWait(Time now);
    bool isSettled(Time now);
    void planRepeating(Time now);
    void serveJoin(Time now);
    void askForMissing(Time now);
    void answerWants(Time now);
    void repeatForReaders(Time now);
    void tellStatus(Time now);

    const Settings m_settings;
    HybridClock& m_clock;
    std::vector<Entry> m_entries;         ///< by instance
    std::vector<std::uint64_t> m_digests; ///< by bucket
    std::size_t m_size = 0;
    std::size_t m_numRefused = 0;
    Effects m_effects;

    Neighbours m_neighbours;
    std::vector<Status::Want> m_wants;
    Time m_wantedAt{};
    std::size_t m_attempt = 0;
    std::vector<std::optional<Time>> m_answerDue; ///< by bucket
    std::size_t m_numAnswersDue = 0;
    std::vector<Time> m_answeredAt; ///< by bucket
    std::vector<Time> m_changedAt;  ///< by bucket: our digest
    bool m_isStatusUrgent = true;
    bool m_isStatusOld = false;
    Time m_toldAt{};

    std::uint64_t m_ticket = 0;
    bool m_isWaiting = false;
    bool m_isStoreTried = false;
    bool m_isSettled = false; ///< since the join
    bool m_isExpected = false;
    Time m_joinedAt{};
    Time m_waitsSince{}; ///< for all but the store
    Time m_newcomer{};
    Time m_answersUntil{};

    std::optional<Time> m_repeatDue;
    Time m_repeatSince{};       ///< when the last reader came
    bool m_isRepeatOwn = false; ///< what others have repeated does not count
    Time m_repeatedAt{};
};

} // namespace com::tallowcrest::durability
