#include "tools/koractl/doctor/MetricsText.h"

#include "runtime/util/VisibleText.h"

#include <algorithm>
#include <cmath>
#include <istream>
#include <string>

namespace koractl
{
namespace
{

/// One line: NAME{LABELS} VALUE or NAME VALUE. Empty name: no sample.
struct Sample
{
    std::string name;
    std::string labels;
    double value = 0;
};

Sample sampleOf(const std::string& line)
{
    const std::size_t blank = line.rfind(' ');
    if (line.empty() || line.front() == '#' || blank == std::string::npos)
    {
        return {};
    }
    Sample sample;
    try
    {
        std::size_t read = 0;
        sample.value = std::stod(line.substr(blank + 1), &read);
        if (read != line.size() - blank - 1 || !std::isfinite(sample.value))
        {
            return {};
        }
    }
    catch (const std::logic_error&)
    {
        return {}; // no number, or one beyond all numbers
    }
    const std::size_t brace = std::min(line.find('{'), blank);
    sample.name = line.substr(0, brace);
    sample.labels = line.substr(brace, blank - brace);
    return sample;
}

/// What stands between the quotation marks of a label.
std::string labelOf(const std::string& labels, const std::string& label)
{
    const std::size_t at = labels.find(label + "=\"");
    if (at == std::string::npos)
    {
        return "";
    }
    const std::size_t begin = at + label.size() + 2;
    return com::tallowcrest::util::visibleText(labels.substr(begin, labels.find('"', begin) - begin));
}

} // namespace

MetricsFacts readMetrics(std::istream& lines)
{
    MetricsFacts facts;
    for (std::string line; std::getline(lines, line);)
    {
        const Sample sample = sampleOf(line);
        if (sample.name == "korabridge_build_info")
        {
            facts.version = labelOf(sample.labels, "version");
        }
        else if (sample.name == "korabridge_controllers_connected")
        {
            facts.controllers = sample.value;
        }
        else if (sample.name == "korabridge_store_usable")
        {
            facts.storeUsable = sample.value;
        }
        else if (sample.name == "korabridge_join_seconds_count")
        {
            facts.joins = sample.value;
        }
        else if (sample.name == "korabridge_target_readers_matched")
        {
            facts.readersMatched = std::min(sample.value, facts.readersMatched.value_or(sample.value));
        }
        else if (sample.name == "korabridge_neighbours")
        {
            facts.neighbours = std::max(sample.value, facts.neighbours.value_or(0));
        }
        else if (sample.name == "korabridge_gate_dropped_total")
        {
            facts.gateDropped = sample.value + facts.gateDropped.value_or(0);
        }
    }
    return facts;
}

} // namespace koractl
