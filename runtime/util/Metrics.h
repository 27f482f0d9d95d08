#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace com::tallowcrest::util
{

/// Something about the running process that is counted or measured for those who watch it, as Prometheus understands
/// it. Lives where it is counted, mostly as a constant of the file; enlists itself while it lives. Counting is
/// thread-safe, waits for nobody and allocates nothing.
class Metric
{
public:
    enum class Type : std::uint8_t
    {
        Counter, ///< only grows; its name ends in _total
        Gauge,
        Histogram
    };

    /// All texts outlive the metric. Ends the process when there is no memory: metrics are made at its start. `labels`
    /// is empty or in the form of the text format: `reason="locked"`. Metrics of one name share type and help and
    /// differ in their labels.
    Metric(Type type, std::string_view name, std::string_view help, std::string_view labels) noexcept;
    virtual ~Metric();
    Metric(const Metric&) = delete;
    Metric& operator=(const Metric&) = delete;

    Type type() const { return m_type; }
    std::string_view name() const { return m_name; }
    std::string_view help() const { return m_help; }
    std::string_view labels() const { return m_labels; }
    /// How often what it counts has happened; 0 of a gauge.
    virtual std::uint64_t count() const = 0;
    /// Appends its lines of samples.
    virtual void print(std::string& text) const = 0;

private:
    const Type m_type;
    const std::string_view m_name;
    const std::string_view m_help;
    const std::string_view m_labels;
};

/// How often something has happened since the start.
class Counter final : public Metric
{
public:
    Counter(std::string_view name, std::string_view help, std::string_view labels = {}) noexcept
        : Metric(Type::Counter, name, help, labels)
    {}

    void add(std::uint64_t number = 1) { m_value.fetch_add(number, std::memory_order_relaxed); }
    std::uint64_t value() const { return m_value.load(std::memory_order_relaxed); }
    std::uint64_t count() const override { return value(); }
    void print(std::string& text) const override;

private:
    std::atomic<std::uint64_t> m_value{0};
};

/// How much there is of something at the moment.
class Gauge final : public Metric
{
public:
    Gauge(std::string_view name, std::string_view help, std::string_view labels = {}) noexcept
        : Metric(Type::Gauge, name, help, labels)
    {}

    void set(std::int64_t value) { m_value.store(value, std::memory_order_relaxed); }
    void add(std::int64_t number) { m_value.fetch_add(number, std::memory_order_relaxed); }
    std::int64_t value() const { return m_value.load(std::memory_order_relaxed); }
    std::uint64_t count() const override { return 0; }
    void print(std::string& text) const override;

private:
    std::atomic<std::int64_t> m_value{0};
};

/// How long something took, in steps that are said once.
class Histogram final : public Metric
{
public:
    static constexpr std::size_t maxBounds = 15;

    /// `boundsMicroseconds` rise; at most `maxBounds` of them count. They outlive the histogram.
    Histogram(std::string_view name, std::string_view help, std::span<const std::uint32_t> boundsMicroseconds,
              std::string_view labels = {}) noexcept;

    void observe(std::uint64_t microseconds);
    std::uint64_t count() const override;
    void print(std::string& text) const override;

private:
    const std::span<const std::uint32_t> m_bounds;
    std::array<std::atomic<std::uint64_t>, maxBounds + 1> m_counts{}; ///< the last: beyond all bounds
    std::atomic<std::uint64_t> m_sum{0};
};

/// What the gauge of that name, one without labels, shows at the moment; empty when there is none.
std::optional<std::int64_t> gaugeValue(std::string_view name);

/// What all metrics of that name have counted, or those that also have these labels. Throws std::logic_error when there
/// is none.
std::uint64_t countOf(std::string_view name, std::string_view labels = {});

/// All metrics that live, in the text format of Prometheus, by name. Not while one of them goes.
std::string metricsText();

} // namespace com::tallowcrest::util
