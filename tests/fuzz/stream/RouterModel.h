#pragma once

#include "tests/fuzz/stream/FuzzBus.h"
#include "tests/fuzz/stream/ModelState.h"

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace fuzz
{

/// What the bridge is to answer and to write, worked out a second time from the description of the protocol, without
/// any code of the bridge. The harness compares every byte and every sample.
class RouterModel
{
public:
    using Level = com::tallowcrest::dds_::routing::MacroLevel;
    using Member = com::tallowcrest::dds_::routing::RouterMemberMacroXpts;
    using Output = com::tallowcrest::dds_::routing::MacroXptOutput;
    using Words = std::vector<std::uint32_t>;

    enum class Signal : std::size_t
    {
        Video,
        Audio
    };

    RouterModel(std::uint32_t when, std::uint32_t seconds) : m_when(when), m_seconds(seconds) {}

    /// Empty: out of every router's partition.
    void join(const std::string& partition);
    void onLevel(const Level& level);
    void onMember(Signal signal, const Member& member, bool isValid);
    void onStatus(Signal signal, const Output& status, bool isValid);
    void onLocalTarget(Signal signal, const Output& target);
    void onConnection(std::uint32_t connection);

    /// The whole response to a whole request, in host order with sequence 0. `request` are its whole words.
    Words answer(const Words& request, std::uint32_t connection);

    /// The samples that are to have been written since the last call.
    std::vector<FuzzBus::Write> takeWrites() { return std::exchange(m_writes, {}); }

private:
    /// The state of one output as the link reports it.
    struct Status
    {
        std::uint32_t result = 0;
        std::uint32_t input = 0;
        std::uint32_t lprState = 0;
        std::uint32_t lprId = 0;
    };

    ModelSignal& of(Signal signal) { return signal == Signal::Video ? m_video : m_audio; }
    ModelSignal& of(const ModelLevel& level) { return level.isVideo() ? m_video : m_audio; }
    bool hasRoomFor(const Level& level) const;
    ModelLevel* find(std::uint32_t number);
    void noteChange(Signal signal, std::uint32_t xpt);
    void write(ModelSignal& signal, const Output& sample);

    std::uint32_t take(std::uint32_t level, std::uint32_t lprId, std::uint32_t input, std::uint32_t output);
    std::uint32_t setLpr(std::uint32_t level, std::uint32_t output, std::uint32_t command, std::uint32_t lprId);
    Status status(std::uint32_t level, std::uint32_t output);

    Words answerEntries(const Words& request, bool isTake);
    Words answerTally(const Words& request);
    Words answerStatus(const Words& request);
    Words answerChanges(const Words& request, std::uint32_t connection);
    Words answerSystemStatus(const Words& request) const;

    const std::uint32_t m_when;
    const std::uint32_t m_seconds;
    std::string m_partition;
    ModelSignal m_video{288, "TopicMacroXptOutputVideoTarget"};
    ModelSignal m_audio{720, "TopicMacroXptOutputAudioTarget"};
    std::map<std::uint32_t, ModelLevel> m_videoLevels;
    std::map<std::uint32_t, ModelLevel> m_audioLevels;
    std::set<std::uint16_t> m_levelIds; ///< that have been published since the join, as many as are read
    std::vector<FuzzBus::Write> m_writes;
};

} // namespace fuzz
