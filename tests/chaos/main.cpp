#include "tests/chaos/HostileMember.h"
#include "tests/chaos/Run.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <exception>
#include <iostream>
#include <map>
#include <random>
#include <string>

namespace
{

/// How much slower than an optimised build this one is.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int slowness = 5;
#else
constexpr int slowness = 1;
#endif

const std::map<std::string, chaos::Sabotage> sabotages = {{"late-answer", chaos::Sabotage::LateAnswer},
                                                          {"lost-take", chaos::Sabotage::LostTake},
                                                          {"refused-takes", chaos::Sabotage::RefusedTakes},
                                                          {"missing-change", chaos::Sabotage::MissingChange},
                                                          {"silent-router", chaos::Sabotage::SilentRouter},
                                                          {"foreign-response", chaos::Sabotage::ForeignResponse},
                                                          {"dead-bridge", chaos::Sabotage::DeadBridge},
                                                          {"growth", chaos::Sabotage::Growth},
                                                          {"escape", chaos::Sabotage::Escape}};

} // namespace

int main(int argc, char** argv)
{
    chaos::RunOptions options;
    options.bounds = chaos::Bounds::times(slowness);
    options.seed = std::random_device{}();
    long seconds = 10;
    bool isPlanOnly = false;
    bool isHostileItself = false;
    CLI::App app(
        "Disturbs a bridge in every way that a plant network can, for a while, and checks that it keeps what it "
        "promises. Needs a network namespace of its own (tests/support/in-namespace). Ends with status 1 when "
        "anything was violated.",
        "chaos");
    app.add_option("--seconds", seconds, "How long")->capture_default_str()->check(CLI::PositiveNumber);
    app.add_option("--seed", options.seed, "Of the plan of disturbances; random unless given");
    app.add_option_function<long>(
        "--answer-bound",
        [&](const long& milliseconds) { options.bounds.answer = std::chrono::milliseconds(milliseconds); },
        "Milliseconds within which every request must be answered");
    app.add_flag("--plan", isPlanOnly, "Print the plan and do nothing");
    app.add_flag("--hostile", options.isWithHostileMember, "Let somebody on the bus mean ill, in a process of its own");
    app.add_flag("--be-hostile", isHostileItself, "Be that process");
    app.add_option("--sabotage", options.sabotage, "Falsify what is observed, to see that it is noticed")
        ->transform(CLI::CheckedTransformer(sabotages));
    CLI11_PARSE(app, argc, argv);
    options.length = std::chrono::seconds(seconds);
    std::signal(SIGPIPE, SIG_IGN); // a router that has died is an error of the write
    try
    {
        if (isPlanOnly)
        {
            chaos::Plan(options.seed, options.length, options.bounds.change + std::chrono::seconds(1)).print(std::cout);
            return 0;
        }
        if (isHostileItself)
        {
            for (const auto& [act, count] : chaos::beHostile(options.seed, options.length))
            {
                std::cout << " " << act << " " << count << ",";
            }
            std::cout << std::endl;
            return 0;
        }
        return chaos::run(options, std::cout) ? 0 : 1;
    }
    catch (const std::exception& error)
    {
        std::cerr << "chaos: " << error.what() << std::endl;
        return 2;
    }
}
