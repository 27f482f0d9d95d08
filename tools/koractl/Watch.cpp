#include "tools/koractl/Watch.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tools/koractl/ChangeRows.h"
#include "tools/koractl/ResultText.h"

namespace koractl
{

Watch::Watch(KoraClient& client, std::uint32_t format, std::vector<std::uint32_t> levels, Sink sink)
    : m_client(client), m_format(format), m_levels(std::move(levels)), m_sink(std::move(sink))
{}

void Watch::run(std::chrono::milliseconds interval, StopCondition& stop)
{
    do
    {
        for (const std::uint32_t level : m_levels)
        {
            if (!pollLevel(level, stop))
            {
                return;
            }
        }
    } while (!stop.waitFor(interval));
}

bool Watch::pollLevel(std::uint32_t level, StopCondition& stop)
{
    for (;;)
    {
        const ChangeRows changes = askChanges(m_client, m_format, level);
        for (const OutputRow& row : changes.rows)
        {
            m_sink(level, row);
        }
        if (!changes.more)
        {
            return true;
        }
        if (stop.waitFor(std::chrono::milliseconds(0)))
        {
            return false;
        }
    }
}

std::string watchLine(std::uint32_t level, const OutputRow& row)
{
    char numbers[80];
    (void)std::snprintf(numbers, sizeof numbers, "level %3u  output %5u  input %5s", level, row.output,
                        row.inputText().c_str());
    std::string line = numbers;
    const std::string remark = row.result == 0 ? "" : statusResultText(row.result, level, row.output);
    std::string state = row.stateText();
    if (!state.empty())
    {
        if (!remark.empty())
        {
            state.resize(std::max<std::size_t>(state.size(), 18), ' ');
        }
        line += "  " + state;
    }
    return remark.empty() ? line : line + "  " + remark;
}

std::string watchJson(std::uint32_t level, const OutputRow& row)
{
    nlohmann::ordered_json json{{"level", level}};
    json.update(row.toJson(level));
    return json.dump();
}

} // namespace koractl
