#include "tools/korapanel/Panel.h"

#include "tools/common/Names.h"
#include "tools/korapanel/api/Api.h"

#include <chrono>
#include <ostream>

namespace korapanel
{
namespace
{

PanelModel::Settings modelSettings(const Options& options, const koractl::Names& names)
{
    using namespace std::chrono;
    PanelModel::Settings settings{
        .bridge = options.bridge.host + ":" + std::to_string(options.bridge.port),
        .version = KORABRIDGE_VERSION,
        .levels = options.bridge.levels,
        // Milliseconds pass faster than revisions, so a later run begins beyond those of an earlier one.
        .firstRevision =
            static_cast<std::uint64_t>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count())};
    for (const std::uint32_t level : settings.levels)
    {
        settings.levelNames[level] = names.level(level);
        settings.lastNamedInputs[level] = names.lastInput(level);
    }
    return settings;
}

/// Whoever still waits for an answer gets one, so that the server holds nobody when it ends.
struct Ending
{
    Access& access;
    BridgeLink& link;
    Streams& streams;
    Server& server;

    ~Ending()
    {
        access.stop();
        link.stop();
        streams.end(std::nullopt);
        server.stop();
    }
};

} // namespace

void runPanel(const Options& options, koraclient::StopCondition& stop, std::ostream& out)
{
    const koractl::Names names = koractl::Names::load(options.nameFiles);
    const OriginCheck origins(options.hostNames);
    const StaticFiles files(options.pageFolder);
    Salvos salvos(options.salvoFolder, names);
    Access access(options.access);
    PanelModel model(modelSettings(options, names));
    Streams streams(model);
    model.onEvent([&streams] { streams.wake(); });
    BridgeLink link(options.bridge, model, [&streams] { return streams.count(); });
    PressLog presses(out, model);
    Api api({.levels = options.bridge.levels, .lprId = options.lprId},
            {.model = model,
             .link = link,
             .access = access,
             .origins = origins,
             .files = files,
             .names = names,
             .salvos = salvos,
             .presses = presses,
             .endStreams = [&streams](const std::string& session) { streams.end(session); }});
    Server server(
        options.server, [&api](const Request& request, const Reply& reply) { api.handle(request, reply); }, streams);
    const Ending ending{.access = access, .link = link, .streams = streams, .server = server};
    const bool isVersion6 = options.server.address.find(':') != std::string::npos;
    out << "korapanel: listening on " << (options.server.certificate.empty() ? "http://" : "https://")
        << (isVersion6 ? "[" : "") << options.server.address << (isVersion6 ? "]:" : ":") << server.port()
        << (options.access.isControlled ? "" : ", read-only") << std::endl;
    while (!stop.waitFor(std::chrono::seconds(1)))
    {
        streams.tick(static_cast<std::int64_t>(secondsNow()));
    }
}

} // namespace korapanel
