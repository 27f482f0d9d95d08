#include "bench/korabench/LoadOptions.h"

#include <CLI/CLI.hpp>

namespace korabench
{
namespace
{

constexpr double mostSeconds = 3600;
constexpr std::uint32_t mostThreads = 64;
constexpr std::uint32_t mostConnections = 1000;

} // namespace

void LoadOptions::addTo(CLI::App& app)
{
    app.add_option("--connections", connections, "Clients")
        ->capture_default_str()
        ->check(CLI::Range(1U, mostConnections));
    app.add_option("--threads", threads, "Threads that drive them")
        ->capture_default_str()
        ->check(CLI::Range(1U, mostThreads));
    app.add_option("--warm-up", warmUpSeconds, "Seconds before the measurement")
        ->capture_default_str()
        ->check(CLI::Range(0.0, mostSeconds));
    app.add_option("--duration", seconds, "Seconds of measurement")
        ->capture_default_str()
        ->check(CLI::Range(0.0, mostSeconds));
    app.add_option("--interval", intervalMilliseconds,
                   "Milliseconds from one request of a client to its next; 0: at once")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1000 * mostSeconds));
    app.add_flag("--json", isJson, "Print one JSON object");
}

} // namespace korabench
