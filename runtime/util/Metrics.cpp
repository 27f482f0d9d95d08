#include "runtime/util/Metrics.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace com::tallowcrest::util
{

namespace
{

struct Enlisted
{
    std::mutex mutex;
    std::vector<const Metric*> metrics;
};

/// Made with the first metric, and so it outlives all that are constants of their files.
Enlisted& enlisted()
{
    static Enlisted all;
    return all;
}

const char* textOf(Metric::Type type)
{
    switch (type)
    {
    case Metric::Type::Counter:
        return "counter";
    case Metric::Type::Gauge:
        return "gauge";
    case Metric::Type::Histogram:
        break;
    }
    return "histogram";
}

/// Microseconds as seconds, without zeros at the end.
std::string secondsText(std::uint64_t microseconds)
{
    constexpr std::uint64_t perSecond = 1000000;
    std::array<char, 40> digits{};
    const int length = std::snprintf(digits.data(), digits.size(), "%llu.%06llu",
                                     static_cast<unsigned long long>(microseconds / perSecond),
                                     static_cast<unsigned long long>(microseconds % perSecond));
    std::string text(digits.data(), static_cast<std::size_t>(length));
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
    {
        text.pop_back();
    }
    return text;
}

void printSample(std::string& text, std::string_view name, std::string_view suffix, std::string_view labels,
                 std::string_view moreLabels, const std::string& value)
{
    text.append(name).append(suffix);
    if (!labels.empty() || !moreLabels.empty())
    {
        text.append("{").append(labels);
        text.append(labels.empty() || moreLabels.empty() ? "" : ",").append(moreLabels).append("}");
    }
    text.append(" ").append(value).append("\n");
}

} // namespace

Metric::Metric(Type type, std::string_view name, std::string_view help, std::string_view labels) noexcept
    : m_type(type), m_name(name), m_help(help), m_labels(labels)
{
    Enlisted& all = enlisted();
    const std::lock_guard lock(all.mutex);
    const auto place =
        std::upper_bound(all.metrics.begin(), all.metrics.end(), *this, [](const Metric& left, const Metric* right) {
            return left.name() != right->name() ? left.name() < right->name() : left.labels() < right->labels();
        });
    all.metrics.insert(place, this);
}

Metric::~Metric()
{
    Enlisted& all = enlisted();
    const std::lock_guard lock(all.mutex);
    std::erase(all.metrics, this);
}

void Counter::print(std::string& text) const
{
    printSample(text, name(), "", labels(), "", std::to_string(value()));
}

void Gauge::print(std::string& text) const
{
    printSample(text, name(), "", labels(), "", std::to_string(value()));
}

Histogram::Histogram(std::string_view name, std::string_view help, std::span<const std::uint32_t> boundsMicroseconds,
                     std::string_view labels) noexcept
    : Metric(Type::Histogram, name, help, labels),
      m_bounds(boundsMicroseconds.first(std::min(boundsMicroseconds.size(), maxBounds)))
{}

void Histogram::observe(std::uint64_t microseconds)
{
    const auto bound = std::lower_bound(m_bounds.begin(), m_bounds.end(), microseconds);
    m_counts[static_cast<std::size_t>(bound - m_bounds.begin())].fetch_add(1, std::memory_order_relaxed);
    m_sum.fetch_add(microseconds, std::memory_order_relaxed);
}

std::uint64_t Histogram::count() const
{
    std::uint64_t all = 0;
    for (const auto& count : m_counts)
    {
        all += count.load(std::memory_order_relaxed);
    }
    return all;
}

void Histogram::print(std::string& text) const
{
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < m_bounds.size(); ++i)
    {
        count += m_counts[i].load(std::memory_order_relaxed);
        printSample(text, name(), "_bucket", labels(), "le=\"" + secondsText(m_bounds[i]) + "\"",
                    std::to_string(count));
    }
    count += m_counts[m_bounds.size()].load(std::memory_order_relaxed);
    printSample(text, name(), "_bucket", labels(), "le=\"+Inf\"", std::to_string(count));
    printSample(text, name(), "_sum", labels(), "", secondsText(m_sum.load(std::memory_order_relaxed)));
    printSample(text, name(), "_count", labels(), "", std::to_string(count));
}

std::optional<std::int64_t> gaugeValue(std::string_view name)
{
    Enlisted& all = enlisted();
    const std::lock_guard lock(all.mutex);
    for (const Metric* const metric : all.metrics)
    {
        if (metric->name() == name && metric->type() == Metric::Type::Gauge)
        {
            return static_cast<const Gauge*>(metric)->value();
        }
    }
    return std::nullopt;
}

std::uint64_t countOf(std::string_view name, std::string_view labels)
{
    Enlisted& all = enlisted();
    const std::lock_guard lock(all.mutex);
    std::uint64_t sum = 0;
    bool isThere = false;
    for (const Metric* const metric : all.metrics)
    {
        if (metric->name() == name && (labels.empty() || metric->labels() == labels))
        {
            sum += metric->count();
            isThere = true;
        }
    }
    if (!isThere)
    {
        throw std::logic_error("nothing counts " + std::string(name));
    }
    return sum;
}

std::string metricsText()
{
    Enlisted& all = enlisted();
    const std::lock_guard lock(all.mutex);
    std::string text;
    std::string_view last;
    for (const Metric* const metric : all.metrics)
    {
        if (metric->name() != last)
        {
            last = metric->name();
            text.append("# HELP ").append(last).append(" ").append(metric->help()).append("\n");
            text.append("# TYPE ").append(last).append(" ").append(textOf(metric->type())).append("\n");
        }
        metric->print(text);
    }
    return text;
}

} // namespace com::tallowcrest::util
