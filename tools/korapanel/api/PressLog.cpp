#include "tools/korapanel/api/PressLog.h"

#include "runtime/util/Metrics.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <ostream>
#include <utility>

namespace korapanel
{
namespace
{

using com::tallowcrest::util::Counter;

Counter doneCounter("korapanel_presses_total", "Entries that were pressed.", "result=\"done\"");
Counter refusedCounter("korapanel_presses_total", "Entries that were pressed.", "result=\"refused\"");
Counter unansweredCounter("korapanel_presses_total", "Entries that were pressed.", "result=\"unanswered\"");

/// 2026-11-21T06:30:12.123Z
std::string timeText(double seconds)
{
    const auto milliseconds = static_cast<long long>(std::llround(seconds * 1000));
    const auto whole = static_cast<std::time_t>(milliseconds / 1000);
    std::tm parts{};
    (void)::gmtime_r(&whole, &parts);
    std::array<char, 32> date{};
    (void)std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 48> text{};
    (void)std::snprintf(text.data(), text.size(), "%s.%03dZ", date.data(), static_cast<int>(milliseconds % 1000));
    return text.data();
}

} // namespace

double secondsNow()
{
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch());
    return static_cast<double>(now.count()) / 1000;
}

std::string PressLog::lineOf(const Press& press)
{
    std::string line = timeText(press.time) + " " + press.who.name + " " + press.who.address + " " + press.what +
                       " level " + std::to_string(press.level) + " output " + std::to_string(press.output);
    if (press.input)
    {
        line += " input " + std::to_string(*press.input);
    }
    return line + ": " + press.text;
}

void PressLog::write(const Presser& who, const std::vector<std::string>& words, const std::vector<OrderResult>& results)
{
    const double now = secondsNow();
    std::vector<Press> presses;
    for (std::size_t i = 0; i < results.size(); ++i)
    {
        const OrderResult& result = results[i];
        Press press{.time = now,
                    .who = who,
                    .what = words.size() == 1 ? words.front() : words[i],
                    .level = result.level,
                    .output = result.output,
                    .input = result.input,
                    .code = result.code,
                    .text = result.text};
        (!press.code ? unansweredCounter : *press.code == 0 ? doneCounter : refusedCounter).add();
        m_out << lineOf(press) << '\n';
        presses.push_back(std::move(press));
    }
    m_out.flush();
    m_model.addPresses(presses);
}

} // namespace korapanel
