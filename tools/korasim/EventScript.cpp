#include "tools/korasim/EventScript.h"

#include "runtime/util/VisibleText.h"
#include "tools/korasim/EventPrinter.h"

#include <exception>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace korasim
{

EventScript::EventScript(SimulatedRouter& router, std::ostream& out, std::ostream& errors, Pause pause)
    : m_router(router), m_out(out), m_errors(errors), m_pause(std::move(pause))
{
    addMembershipCommands();
    addCrosspointCommands();
    addScriptCommands();
}

void EventScript::addMembershipCommands()
{
    m_commands["announce"] = {"", "publish ranges, levels, status and the membership", [this](WordReader& words) {
                                  words.end();
                                  m_router.announce();
                              }};
    m_commands["reannounce"] = {"[PARTITION]", "publish the membership again, or move to another partition",
                                [this](WordReader& words) {
                                    std::optional<std::string> partition;
                                    if (!words.isAtEnd())
                                    {
                                        partition = words.word("partition");
                                    }
                                    words.end();
                                    m_router.reAnnounce(partition);
                                }};
    m_commands["dispose-member"] = {"", "dispose of the membership", [this](WordReader& words) {
                                        words.end();
                                        m_router.disposeMember();
                                    }};
    m_commands["vanish"] = {"", "delete every writer; announce brings them back", [this](WordReader& words) {
                                words.end();
                                m_router.vanish();
                            }};
    m_commands["ranges"] = {"video|audio INDEX FIRST_INPUT INPUTS FIRST_OUTPUT OUTPUTS",
                            "publish the crosspoint ranges of a member", [this](WordReader& words) {
                                const Signal signal = words.signal();
                                const auto ranges = words.ranges();
                                words.end();
                                m_router.publishRanges(signal, ranges);
                            }};
    m_commands["dispose-ranges"] = {"video|audio INDEX", "dispose of the ranges of a member",
                                    [this](WordReader& words) {
                                        const Signal signal = words.signal();
                                        const auto index = words.shortNumber("member index");
                                        words.end();
                                        m_router.disposeRanges(signal, index);
                                    }};
    m_commands["level"] = {"ID video|audio FIRST_INPUT INPUTS CONTROLLER_INPUT FIRST_OUTPUT OUTPUTS CONTROLLER_OUTPUT",
                           "publish a level", [this](WordReader& words) {
                               const auto level = words.level();
                               words.end();
                               m_router.publishLevel(level);
                           }};
    m_commands["dispose-level"] = {"ID", "dispose of a level", [this](WordReader& words) {
                                       const auto level = words.shortNumber("level");
                                       words.end();
                                       m_router.disposeLevel(level);
                                   }};
}

void EventScript::addCrosspointCommands()
{
    m_commands["status"] = {"video|audio OUTPUT INPUT [LPR_ID [released|protected|locked [WHEN]]]",
                            "publish the status of an output", [this](WordReader& words) {
                                const Signal signal = words.signal();
                                const auto status = words.macroXptOutput();
                                words.end();
                                m_router.setStatus(signal, status);
                            }};
    m_commands["burst"] = {"video|audio FIRST_OUTPUT COUNT INPUT [LPR_ID]", "publish the status of many outputs",
                           [this](WordReader& words) {
                               const Signal signal = words.signal();
                               const std::uint32_t first = words.number("first output");
                               const std::uint32_t count = words.number("count", 100000);
                               const std::uint32_t input = words.number("input");
                               const std::uint32_t lprId = words.isAtEnd() ? 0 : words.number("LPR id");
                               words.end();
                               std::vector<SimulatedRouter::MacroXptOutput> statuses;
                               for (std::uint32_t i = 0; i < count; ++i)
                               {
                                   statuses.push_back(
                                       {.macroXptOutput = first + i, .macroXptInput = input, .lprId = lprId});
                               }
                               m_router.setStatuses(signal, statuses);
                           }};
    m_commands["dispose-status"] = {"video|audio OUTPUT", "dispose of the status of an output",
                                    [this](WordReader& words) {
                                        const Signal signal = words.signal();
                                        const std::uint32_t output = words.number("output");
                                        words.end();
                                        m_router.disposeStatus(signal, output);
                                    }};
    m_commands["local-target"] = {"video|audio OUTPUT INPUT [LPR_ID [released|protected|locked [WHEN]]]",
                                  "publish a local target", [this](WordReader& words) {
                                      const Signal signal = words.signal();
                                      const auto target = words.macroXptOutput();
                                      words.end();
                                      m_router.localTarget(signal, target);
                                  }};
    for (const bool isRefused : {true, false})
    {
        m_commands[isRefused ? "refuse" : "accept"] = {"video|audio OUTPUT",
                                                       isRefused ? "ignore the targets of an output from now on"
                                                                 : "follow the targets of an output again",
                                                       [this, isRefused](WordReader& words) {
                                                           const Signal signal = words.signal();
                                                           const std::uint32_t output = words.number("output");
                                                           words.end();
                                                           m_router.setRefused(signal, output, isRefused);
                                                       }};
    }
    m_commands["follow"] = {"on|off", "turn targets into status, or only print them", [this](WordReader& words) {
                                const std::string text = words.word("on or off");
                                words.end();
                                if (text != "on" && text != "off")
                                {
                                    throw std::invalid_argument("'" + text + "' is neither on nor off");
                                }
                                m_router.setFollowing(text == "on");
                            }};
    m_commands["delay"] = {"MILLISECONDS", "set the time from a target to its status", [this](WordReader& words) {
                               const std::uint32_t delay = words.number("milliseconds");
                               words.end();
                               m_router.setStatusDelay(std::chrono::milliseconds(delay));
                           }};
}

void EventScript::addScriptCommands()
{
    m_commands["wait"] = {"MILLISECONDS", "wait before the next line", [this](WordReader& words) {
                              const std::uint32_t delay = words.number("milliseconds");
                              words.end();
                              m_isQuitting = !m_pause(std::chrono::milliseconds(delay));
                          }};
    m_commands["wait-target"] = {"video|audio OUTPUT INPUT [MILLISECONDS]",
                                 "wait until the target of an output is this input (10 seconds)",
                                 [this](WordReader& words) {
                                     const Signal signal = words.signal();
                                     const std::uint32_t output = words.number("output");
                                     const std::uint32_t input = words.number("input");
                                     std::chrono::milliseconds timeout = std::chrono::seconds(10);
                                     if (!words.isAtEnd())
                                     {
                                         timeout = std::chrono::milliseconds(words.number("milliseconds"));
                                     }
                                     words.end();
                                     waitForTarget(signal, output, input, timeout);
                                 }};
    m_commands["show"] = {"", "print the status of every output that has one", [this](WordReader& words) {
                              words.end();
                              showStatus();
                          }};
    m_commands["help"] = {"", "list the commands", [this](WordReader& words) {
                              words.end();
                              showHelp();
                          }};
    m_commands["quit"] = {"", "end the program", [this](WordReader& words) {
                              words.end();
                              m_isQuitting = true;
                          }};
}

void EventScript::waitForTarget(Signal signal, std::uint32_t output, std::uint32_t input,
                                std::chrono::milliseconds timeout)
{
    const auto isReached = [&] {
        const auto target = m_router.lastTarget(signal, output);
        return target && target->macroXptInput == input;
    };
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!isReached())
    {
        if (!m_pause(std::chrono::milliseconds(5)))
        {
            m_isQuitting = true;
            return;
        }
        if (std::chrono::steady_clock::now() >= end)
        {
            throw std::runtime_error("no such target came in time");
        }
    }
}

EventScript::Outcome EventScript::runLine(const std::string& line)
{
    ++m_lineNumber;
    WordReader words(line);
    if (words.isAtEnd() || line[line.find_first_not_of(" \t\r")] == '#')
    {
        return Outcome::GoOn;
    }
    try
    {
        const std::string name = words.word("command");
        const auto command = m_commands.find(name);
        if (command == m_commands.end())
        {
            throw std::invalid_argument("no such command: '" + name + "' (help lists them)");
        }
        command->second.run(words);
    }
    catch (const std::exception& error)
    {
        ++m_errorCount;
        m_errors << "line " << m_lineNumber << ": " << com::tallowcrest::util::visibleText(error.what()) << std::endl;
    }
    return m_isQuitting ? Outcome::Quit : Outcome::GoOn;
}

void EventScript::showHelp() const
{
    for (const auto& [name, command] : m_commands)
    {
        m_out << name << (command.arguments.empty() ? "" : " ") << command.arguments << "\n    " << command.help
              << "\n";
    }
    m_out.flush();
}

void EventScript::showStatus() const
{
    for (const Signal signal : {Signal::Video, Signal::Audio})
    {
        for (const auto& status : m_router.currentStatus(signal))
        {
            m_out << describeOutput(signal, status) << "\n";
        }
    }
    m_out.flush();
}

} // namespace korasim
