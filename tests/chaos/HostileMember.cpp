#include "tests/chaos/HostileMember.h"

#include "bustypes/RoutingTypes.h"
#include "bustypes/TopicNames.h"
#include "buswrappers/TopicPub.h"
#include "dds/core/Exception.hpp"
#include "tests/chaos/Dice.h"
#include "tests/chaos/HostileNeighbours.h"

#include <array>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace chaos
{

namespace
{

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicPub;

/// What there can be of it, however long it goes on.
constexpr std::uint32_t levels = 600;
constexpr std::uint32_t outputs = 2000;
constexpr std::uint32_t ranges = 600;
constexpr std::uint32_t components = 200;
constexpr auto betweenActs = 20ms;

/// Beyond the levels and outputs that anybody of the run uses.
constexpr std::uint16_t firstLevel = 1000;
constexpr std::uint32_t firstOutput = 2305;
constexpr std::uint16_t firstMember = 100;

constexpr std::array names{"\x1b[2J\x1b]0;mine\a",
                           "\xc2\x9b"
                           "2J",
                           "line\n2026-01-01 00:00:00,000 1 INFO forged",
                           "\xe2\x80\xae"
                           "reversed"};
/// None of these is the name of one partition.
constexpr std::array partitions{"*", "R?", "R[12]", "\x1b[2J", "R1\n", "\xc3\xa9"};

/// A writer of one topic in each router's partition.
template <typename T>
class Pubs
{
public:
    explicit Pubs(TopicName topic, std::vector<std::string> routers = {"R1", "R2"})
    {
        for (const std::string& router : routers)
        {
            m_pubs.push_back(
                std::make_unique<TopicPub<T>>(topicName(topic), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL));
            m_pubs.back()->joinRouterPartition(router);
        }
    }
    void write(const T& sample)
    {
        for (const auto& pub : m_pubs)
        {
            pub->write(sample);
        }
    }
    void dispose(const T& sample)
    {
        for (const auto& pub : m_pubs)
        {
            pub->dispose(sample);
        }
    }

private:
    std::vector<std::unique_ptr<TopicPub<T>>> m_pubs;
};

class HostileMember
{
public:
    explicit HostileMember(std::uint64_t seed) : m_dice(seed), m_neighbours(m_dice.seed()) {}

    std::map<std::string, std::size_t> perform(std::chrono::seconds length)
    {
        using Act = std::pair<const char*, std::function<void()>>;
        const std::array acts{Act{"wildcards", [this] { announceWildcards(); }},
                              Act{"levels", [this] { floodLevels(); }},
                              Act{"outputs", [this] { floodOutputs(); }},
                              Act{"ranges", [this] { floodRanges(); }},
                              Act{"names", [this] { forgeNames(); }},
                              Act{"promises", [this] { m_neighbours.promise(); }},
                              Act{"crowd", [this] { m_neighbours.crowd(); }}};
        const auto end = std::chrono::steady_clock::now() + length;
        std::map<std::string, std::size_t> performed;
        while (std::chrono::steady_clock::now() < end)
        {
            const Act& act = acts[m_dice.between(0, acts.size() - 1)];
            try
            {
                act.second();
                ++performed[act.first];
            }
            catch (const dds::core::Exception&)
            {
                ++performed["refused by the bus"]; // a reader that has had enough makes writers wait, and then fail
            }
            m_neighbours.drip();
            std::this_thread::sleep_for(betweenActs);
        }
        takeLevelsAway();
        return performed;
    }

private:
    /// For what the DDS library itself refuses, with a line on standard error each time.
    bool rarely() { return m_dice.between(0, 49) == 0; }

    void announceWildcards()
    {
        for (const char* partition : partitions)
        {
            m_members.write({.frameId = 17, .routerPartition = partition, .memberIndex = 0});
        }
    }

    /// The largest that there are, and what cannot be.
    void floodLevels()
    {
        for (std::uint32_t i = m_dice.between(10, 100); i > 0; --i)
        {
            const MacroLevel level{.levelId = static_cast<std::uint16_t>(firstLevel + m_dice.between(0, levels - 1)),
                                   .levelSignalType =
                                       static_cast<MacroLevelSignalType>(rarely() ? 7 : m_dice.between(0, 1)),
                                   .macroXptInputStart = m_dice.between(0, 3) == 0 ? 0xffffff00U : 1U,
                                   .numMacroXptInputs = 73728,
                                   .controllerInputStart = 1,
                                   .macroXptOutputStart = m_dice.between(0, 3) == 0 ? 0xffffffffU : 1U,
                                   .numMacroXptOutputs = m_dice.between(0, 3) == 0 ? 0xffffffffU : 73728U,
                                   .controllerOutputStart = 1};
            m_levels.write(level);
            if (m_dice.between(0, 3) == 0)
            {
                m_levels.dispose(level);
            }
        }
    }

    /// A level outlives who has described it, and so does its memory, which is bounded for all together.
    void takeLevelsAway()
    {
        for (std::uint32_t i = 0; i < levels; ++i)
        {
            m_levels.dispose({.levelId = static_cast<std::uint16_t>(firstLevel + i)});
        }
    }

    void floodOutputs()
    {
        for (std::uint32_t i = m_dice.between(100, 400); i > 0; --i)
        {
            const MacroXptOutput sample{.macroXptOutput = firstOutput + m_dice.between(0, outputs - 1),
                                        .macroXptInput = m_dice.between(0, 0xffffffff),
                                        .when = m_dice.between(0, 0xffffffff),
                                        .lprId = 0,
                                        .lprState = static_cast<LPRState>(rarely() ? 7 : m_dice.between(0, 2))};
            m_outputs[i % m_outputs.size()].write(sample);
        }
    }

    void floodRanges()
    {
        for (std::uint32_t i = m_dice.between(10, 100); i > 0; --i)
        {
            const RouterMemberMacroXpts sample{
                .memberIndex = static_cast<std::uint16_t>(firstMember + m_dice.between(0, ranges - 1)),
                .macroXptInputStart = 0xfffffff0,
                .numMacroXptInputs = m_dice.between(0, 0xffffffff),
                .macroXptOutputStart = 0xfffffff0,
                .numMacroXptOutputs = m_dice.between(0, 0xffffffff)};
            m_ranges.write(sample);
        }
    }

    void forgeNames()
    {
        m_components.write({.frameId = m_dice.between(0, components),
                            .componentId = 3,
                            .name = names[m_dice.between(0, names.size() - 1)],
                            .description = names[m_dice.between(0, names.size() - 1)]});
    }

    Dice m_dice;
    HostileNeighbours m_neighbours;
    Pubs<RouterMember> m_members{TopicName::RouterMember, {""}};
    Pubs<ComponentInfo> m_components{TopicName::ComponentInfoKoraBridge, {""}};
    Pubs<MacroLevel> m_levels{TopicName::MacroLevel};
    Pubs<RouterMemberMacroXpts> m_ranges{TopicName::RouterMemberMacroXptsDxVideo};
    std::array<Pubs<MacroXptOutput>, 6> m_outputs{Pubs<MacroXptOutput>{TopicName::MacroXptOutputVideoStatus},
                                                  Pubs<MacroXptOutput>{TopicName::MacroXptOutputAudioStatus},
                                                  Pubs<MacroXptOutput>{TopicName::MacroXptOutputVideoTarget},
                                                  Pubs<MacroXptOutput>{TopicName::MacroXptOutputAudioTarget},
                                                  Pubs<MacroXptOutput>{TopicName::MacroXptOutputVideoLocalTarget},
                                                  Pubs<MacroXptOutput>{TopicName::MacroXptOutputAudioLocalTarget}};
};

} // namespace

std::map<std::string, std::size_t> beHostile(std::uint64_t seed, std::chrono::seconds length)
{
    return HostileMember(seed).perform(length);
}

} // namespace chaos
