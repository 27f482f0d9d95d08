#pragma once

#include <array>
#include <string>
#include <string_view>

namespace koractl
{

/// A section of the documentation. Plain value.
struct Section
{
    const char* page; ///< in docs/
    const char* title;
};

/// All sections that findings name.
namespace section
{
inline constexpr Section cannotConnect{"operations.md", "Controllers cannot connect"};
inline constexpr Section nobodyAnswers{"operations.md", "Nobody answers at that address"};
inline constexpr Section slotsFull{"operations.md", "All 16 slots are full"};
inline constexpr Section nothingSwitches{"operations.md", "Takes are answered but nothing switches"};
inline constexpr Section statusMissing{"operations.md", "Status is missing"};
inline constexpr Section noAnswers{"operations.md", "The bridge does not answer"};
inline constexpr Section slow{"operations.md", "The bridge is slow"};
inline constexpr Section clocks{"operations.md", "The clocks differ"};
inline constexpr Section neighbourSilent{"operations.md", "Another bridge is silent"};
inline constexpr Section serviceDown{"operations.md", "The service does not run"};
inline constexpr Section starting{"operations.md", "Starting and stopping"};
inline constexpr Section sockets{"operations.md", "Ports and sockets"};
inline constexpr Section errors{"operations.md", "Errors in the program"};
inline constexpr Section store{"durability.md", "The store"};
inline constexpr Section service{"monitoring.md", "The service"};
inline constexpr Section metrics{"monitoring.md", "Metrics"};
inline constexpr Section log{"operations.md", "The log, line by line"};
inline constexpr std::array all{
    cannotConnect, nobodyAnswers,   slotsFull,   nothingSwitches, statusMissing, noAnswers, slow,
    clocks,        neighbourSilent, serviceDown, starting,        sockets,       errors,    store,
    service,       metrics,         log};
} // namespace section

enum class Severity
{
    error,   ///< controllers are not served, or what they set gets lost
    warning, ///< works, and will not for ever
    note,    ///< nothing is wrong; the exit status stays 0
};

inline constexpr const char* severityText(Severity severity)
{
    return severity == Severity::error ? "error" : severity == Severity::warning ? "warning" : "note";
}

/// One thing that is wrong. Plain value.
struct Finding
{
    Severity severity;
    std::string_view name; ///< for programs: stays the same when the sentences are written anew
    std::string what;      ///< one sentence: what is wrong
    std::string todo;      ///< one sentence: what to do
    Section where;         ///< what to read
};

} // namespace koractl
