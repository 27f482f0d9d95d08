// The router's side of the bus for measurements: announces a router that has every crosspoint and shows input n on
// output n, and reads one target topic, doing no more with the samples than counting them. Prints "announced", and on
// SIGUSR1 and at its end (SIGTERM, SIGINT) "samples N".

#include "bench/support/BusEndpoint.h"
#include "bench/support/CountOnSignal.h"
#include "bustypes/TopicNames.h"

#include <CLI/CLI.hpp>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

namespace
{

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicName;

constexpr std::uint32_t videoSize = 288;
constexpr std::uint32_t audioSize = 2304;
constexpr std::size_t takenAtOnce = 256;

std::atomic<std::uint64_t> g_samples{0};

void countSamples(dds_entity_t reader, void*)
{
    // Loaned samples are not copied.
    std::array<void*, takenAtOnce> samples{};
    std::array<dds_sample_info_t, takenAtOnce> infos{};
    for (;;)
    {
        const dds_return_t count = dds_take(reader, samples.data(), infos.data(), takenAtOnce, takenAtOnce);
        if (count <= 0)
        {
            return;
        }
        g_samples += static_cast<std::uint64_t>(count);
        static_cast<void>(dds_return_loan(reader, samples.data(), count));
    }
}

/// The writers of one signal type, with everything they have to say said.
struct SignalAnnouncement
{
    bench::Writer<RouterMemberMacroXpts> ranges;
    bench::Writer<MacroXptOutput> status;

    SignalAnnouncement(dds_entity_t participant, const std::string& partition, TopicName rangesTopic,
                       TopicName statusTopic, std::uint32_t size)
        : ranges(participant, topicName(rangesTopic), partition, DDS_DURABILITY_TRANSIENT_LOCAL),
          status(participant, topicName(statusTopic), partition, DDS_DURABILITY_TRANSIENT_LOCAL)
    {
        for (std::uint32_t output = 1; output <= size; ++output)
        {
            status.write(MacroXptOutput{.macroXptOutput = output, .macroXptInput = output});
        }
        ranges.write(RouterMemberMacroXpts{
            .macroXptInputStart = 1, .numMacroXptInputs = size, .macroXptOutputStart = 1, .numMacroXptOutputs = size});
    }
};

struct Options
{
    std::uint32_t domain = DDS_DOMAIN_DEFAULT;
    std::uint32_t frame = 17;
    std::string partition = "R1";
    bool isVideo = false;
    bool isSilent = false;
};

void run(const Options& options, const sigset_t& signals)
{
    const dds_entity_t participant =
        dds::detail::check(dds_create_participant(options.domain, nullptr, nullptr), "creating the participant");
    dds_listener_t* const listener = dds_create_listener(nullptr);
    dds_lset_data_available(listener, &countSamples);
    bench::makeReader(
        participant, bench::OutputSupport::descriptor(),
        topicName(options.isVideo ? TopicName::MacroXptOutputVideoTarget : TopicName::MacroXptOutputAudioTarget),
        options.partition, DDS_DURABILITY_TRANSIENT_LOCAL, listener);
    dds_delete_listener(listener);
    if (!options.isSilent)
    {
        // The writers live as long as the participant.
        SignalAnnouncement(participant, options.partition, TopicName::RouterMemberMacroXptsDxVideo,
                           TopicName::MacroXptOutputVideoStatus, videoSize);
        SignalAnnouncement(participant, options.partition, TopicName::RouterMemberMacroXptsDxAudio,
                           TopicName::MacroXptOutputAudioStatus, audioSize);
        bench::Writer<RouterMember>(participant, topicName(TopicName::RouterMember), "", DDS_DURABILITY_TRANSIENT_LOCAL)
            .write(RouterMember{.frameId = options.frame, .routerPartition = options.partition});
    }
    std::cout << "announced" << std::endl;

    bench::printCountOnSignal(signals, g_samples);
    static_cast<void>(dds_delete(participant));
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("Announces a router and counts the targets that come for it.", "bench_reader");
    app.add_option("--domain", options.domain, "DDS domain [as configured]");
    app.add_option("--frame", options.frame, "Frame that is a member of the router")->capture_default_str();
    app.add_option("--partition", options.partition, "Router partition")->capture_default_str();
    app.add_flag("--video", options.isVideo, "Read the video targets instead of the audio targets");
    app.add_flag("--silent", options.isSilent, "Announce nothing, only read");
    CLI11_PARSE(app, argc, argv);

    const sigset_t signals = bench::blockCountSignals();
    try
    {
        run(options, signals);
    }
    catch (const std::exception& error)
    {
        std::cerr << "bench_reader: " << error.what() << std::endl;
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
