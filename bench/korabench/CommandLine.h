#pragma once

#include "bench/korabench/Client.h"
#include "bench/korabench/CommandMix.h"
#include "bench/korabench/Request.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace CLI
{
class App;
}

namespace korabench
{

/// How much load there is to be, and for how long.
struct LoadOptions
{
    std::uint32_t connections = 1;
    std::uint32_t threads = 1;
    double warmUpSeconds = 0.5;
    double seconds = 5;
    double intervalMilliseconds = 0;
    std::uint64_t awaitedChanges = 0;
    bool isJson = false;

    /// Adds the options of the command line, all but that of the changes. The options refer to this object.
    void addTo(CLI::App& app);

    std::chrono::nanoseconds warmUp() const { return nanoseconds(warmUpSeconds); }
    std::chrono::nanoseconds duration() const { return nanoseconds(seconds); }
    std::chrono::nanoseconds interval() const { return nanoseconds(intervalMilliseconds / 1000); }

private:
    static std::chrono::nanoseconds nanoseconds(double count)
    {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(count));
    }
};

struct CommandLine
{
    Endpoint endpoint;
    LoadOptions load;
    std::vector<Command> order{Command::Take};
    RequestShape shape;
};

/// Empty when the program is to end at once with `status`: 0 after help, 2 for wrong arguments.
std::optional<CommandLine> parseCommandLine(int argc, char** argv, int& status);

} // namespace korabench
