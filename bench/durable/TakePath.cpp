// What the keeping of targets costs a take, from a controller's request to its answer: the real bridge with a simulated
// router, with the store on a normal disk, on a disk made slow and without a store. One run with three bridges, each in
// a namespace of its own, measured in turns, so that all of them see the same machine. Run by hand from an optimised
// build on a machine with nothing else to do:
//     build/release/bin/bench_take_path [ROUNDS]

#include "koraclient/KoraClient.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"
#include "tools/korasim/SimulatedRouter.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using testsupport::ChildProcess;
using testsupport::programPath;

constexpr std::uint32_t outputs = 288;
constexpr std::size_t burstEntries = 64;

// One case, in a process of its own.

std::vector<koraclient::TakeEntry> message(std::size_t entries, std::uint32_t& counter)
{
    std::vector<koraclient::TakeEntry> takes;
    for (std::size_t i = 0; i < entries; ++i)
    {
        ++counter;
        takes.push_back({1, 0, counter / outputs % outputs + 1, counter % outputs + 1});
    }
    return takes;
}

void measure(koraclient::KoraClient& client, std::size_t entries, std::size_t count, std::vector<double>& microseconds)
{
    static std::uint32_t counter = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto takes = message(entries, counter);
        const auto begin = std::chrono::steady_clock::now();
        const auto results = client.take(takes);
        microseconds.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count());
        if (results != std::vector<std::uint32_t>(entries, 0))
        {
            throw std::runtime_error("a take was refused");
        }
    }
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Measures each time a line comes, and prints the medians at the end of the input.
int runCase()
{
    korasim::RouterOptions options;
    for (std::uint32_t output = 1; output <= outputs; ++output)
    {
        options.refused.emplace(korasim::Signal::Video, output); // the answer does not wait for a status
    }
    korasim::SimulatedRouter router(std::move(options));
    ChildProcess bridge(programPath("korabridge"), {"17", "3", "Bridge", "measured"});
    router.announce();
    if (!testsupport::waitForPort(5194, std::chrono::seconds(30)) ||
        !bridge.waitForOutput("addRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget"))
    {
        throw std::runtime_error("the bridge does not serve: " + bridge.output());
    }
    koraclient::KoraClient client("127.0.0.1");
    std::vector<double> single;
    std::vector<double> many;
    measure(client, 1, 2000, single); // warm-up
    measure(client, burstEntries, 200, many);
    single.clear();
    many.clear();
    std::cout << "ready" << std::endl;
    for (std::string line; std::getline(std::cin, line);)
    {
        measure(client, 1, 500, single);
        measure(client, burstEntries, 50, many);
        std::cout << "done " << line << "." << std::endl;
    }
    std::cout << "medians " << median(single) << ' ' << median(many) << " end" << std::endl;
    return EXIT_SUCCESS;
}

// All of them.

struct Case
{
    const char* name = "";
    std::unique_ptr<ChildProcess> process;
    double single = 0;
    double many = 0;
};

void expect(const Case& which, const std::string& text)
{
    if (!which.process->waitForOutput(text, std::chrono::seconds(60)))
    {
        throw std::runtime_error(std::string(which.name) + ": no \"" + text + "\": " + which.process->output() +
                                 which.process->errors());
    }
}

int runAll(std::size_t rounds)
{
    const testsupport::TempDir directory;
    testsupport::writeFile(directory.path() / "file", "in the way");
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
    std::vector<Case> cases;
    const auto start = [&](const char* name, const std::filesystem::path& store, const std::string& preload) {
        const std::filesystem::path memory = directory.path() / ("memory-" + std::to_string(cases.size()));
        std::filesystem::create_directory(memory);
        cases.push_back(
            {name, std::make_unique<ChildProcess>(SOURCE_DIRECTORY "/tests/support/in-namespace",
                                                  std::vector<std::string>{self.string(), "--case"},
                                                  ChildProcess::Options{{{"KORABRIDGE_DURABLE_STORE", store.string()},
                                                                         {"KORABRIDGE_DURABLE_MEMORY", memory.string()},
                                                                         {"LD_PRELOAD", preload}},
                                                                        false})});
    };
    start("no store", directory.path() / "file" / "x.db", "");
    start("normal disk", directory.path() / "normal.db", "");
    start("slow disk", directory.path() / "slow.db", (self.parent_path() / "libslow_disk.so").string());
    for (const Case& each : cases)
    {
        expect(each, "ready");
    }
    std::vector<std::size_t> order{0, 1, 2};
    for (std::size_t round = 0; round < rounds; ++round)
    {
        std::rotate(order.begin(), order.begin() + 1, order.end());
        for (const std::size_t index : order)
        {
            cases[index].process->write(std::to_string(round) + "\n");
            expect(cases[index], "done " + std::to_string(round) + ".");
            std::this_thread::sleep_for(std::chrono::milliseconds(700)); // what its disk still has to do is its own
        }
    }
    std::printf("median of a take from request to answer in microseconds, and its ratio to \"no store\" (%zu rounds)\n",
                rounds);
    std::printf("%-14s %10s %7s %14s %7s\n", "", "one entry", "ratio", "64 entries", "ratio");
    for (Case& each : cases)
    {
        each.process->closeInput();
        expect(each, " end");
        const std::string output = each.process->output();
        if (std::sscanf(output.c_str() + output.find("medians"), "medians %lf %lf", &each.single, &each.many) != 2)
        {
            throw std::runtime_error("no medians in " + output);
        }
        std::printf("%-14s %10.1f %7.3f %14.1f %7.3f\n", each.name, each.single, each.single / cases[0].single,
                    each.many, each.many / cases[0].many);
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        if (argc > 1 && std::string(argv[1]) == "--case")
        {
            return runCase();
        }
        return runAll(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 30);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "bench_take_path: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
