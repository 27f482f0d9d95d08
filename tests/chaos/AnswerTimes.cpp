#include "tests/chaos/AnswerTimes.h"

#include "tests/chaos/Verdict.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>

namespace chaos
{

namespace
{

constexpr double growth = 1.125;
constexpr double firstClassMicroseconds = 10;

std::size_t classOf(Clock::duration duration)
{
    const double microseconds = std::chrono::duration<double, std::micro>(duration).count();
    const double index = std::ceil(std::log(std::max(1.0, microseconds / firstClassMicroseconds)) / std::log(growth));
    return static_cast<std::size_t>(index);
}

} // namespace

double AnswerTimes::Times::quantile(double part) const
{
    const auto wanted = static_cast<std::size_t>(std::ceil(part * static_cast<double>(count)));
    std::size_t sum = 0;
    for (std::size_t i = 0; i < classes.size(); ++i)
    {
        sum += classes.at(i);
        if (sum >= wanted)
        {
            return firstClassMicroseconds * std::pow(growth, static_cast<double>(i)) / 1000;
        }
    }
    return std::chrono::duration<double, std::milli>(longest).count();
}

void AnswerTimes::setCircumstance(const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    m_circumstance = text;
}

void AnswerTimes::answered(const std::string& command, Clock::time_point begin, Clock::time_point end)
{
    const auto took = end - begin;
    const auto stalled = took > m_bound ? m_stalled(begin, end) : Clock::duration::zero();
    const std::lock_guard lock(m_mutex);
    Times& times = m_times[command];
    ++times.classes.at(std::min(classOf(took), times.classes.size() - 1));
    ++times.count;
    if (took > times.longest)
    {
        times.longest = took;
        times.circumstance = m_circumstance;
    }
    if (took - stalled > m_bound)
    {
        m_verdict.violation("late answer", command + " was answered after " + milliseconds(took) +
                                               " (the machine let others run for " + milliseconds(stalled) +
                                               " of it), last: " + m_circumstance);
    }
}

std::size_t AnswerTimes::count() const
{
    const std::lock_guard lock(m_mutex);
    std::size_t sum = 0;
    for (const auto& [command, times] : m_times)
    {
        sum += times.count;
    }
    return sum;
}

Clock::duration AnswerTimes::longest() const
{
    const std::lock_guard lock(m_mutex);
    Clock::duration longest{0};
    for (const auto& [command, times] : m_times)
    {
        longest = std::max(longest, times.longest);
    }
    return longest;
}

void AnswerTimes::print(std::ostream& out) const
{
    const std::lock_guard lock(m_mutex);
    out << std::left << std::setw(28) << "answers" << std::right << std::setw(10) << "count" << std::setw(10)
        << "median" << std::setw(10) << "99 %" << std::setw(10) << "99.9 %" << std::setw(12) << "longest ms"
        << "  during\n"
        << std::fixed << std::setprecision(2);
    for (const auto& [command, times] : m_times)
    {
        out << std::left << std::setw(28) << command << std::right << std::setw(10) << times.count << std::setw(10)
            << times.quantile(0.5) << std::setw(10) << times.quantile(0.99) << std::setw(10) << times.quantile(0.999)
            << std::setw(12) << std::chrono::duration<double, std::milli>(times.longest).count() << "  "
            << times.circumstance << "\n";
    }
}

} // namespace chaos
