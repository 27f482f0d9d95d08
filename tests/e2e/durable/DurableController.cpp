#include "tests/e2e/durable/DurableController.h"

#include "koraclient/Errors.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <stdexcept>
#include <thread>

namespace e2e
{

using com::tallowcrest::dds_::routing::LPR_LOCKED;
using com::tallowcrest::dds_::routing::LPR_RELEASED;

namespace
{

constexpr std::uint32_t mostEntries = 200;

constexpr std::uint32_t sizeOf(Signal signal)
{
    return signal == Signal::Video ? 288 : 2304;
}
constexpr std::uint32_t levelOf(Signal signal)
{
    return signal == Signal::Video ? videoLevel : audioLevel;
}

std::string secondsBefore(DurableController::Clock::time_point kept, DurableController::Clock::time_point answered)
{
    const double seconds = std::chrono::duration<double>(kept - answered).count();
    return std::to_string(std::abs(seconds)) + (seconds < 0 ? " s too late to be sure" : " s early enough");
}

} // namespace

std::atomic<std::uint32_t> DurableController::s_nextNumber{1};

void DurableController::load(koraclient::KoraClient client, const std::atomic<bool>& isKilled)
{
    m_released.clear();
    m_done = {};
    m_firstOfLoad = s_nextNumber;
    try
    {
        loadUntilClosed(client);
    }
    catch (const koraclient::KoraError& error)
    {
        if (!isKilled)
        {
            m_failure = error.what();
        }
    }
    catch (const std::exception& error)
    {
        m_failure = error.what();
    }
    m_hasDoneEverything = false; // who waits for the next load may look before that has begun
}

void DurableController::loadUntilClosed(koraclient::KoraClient& client)
{
    for (;;)
    {
        if (between(0, 3) == 0)
        {
            setLpr(client);
        }
        else
        {
            take(client);
        }
        m_hasDoneEverything = m_done.hasEverything() && m_done.manyAtOnce > 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(between(0, 6))); // as controllers do, not a flood
    }
}

void DurableController::take(koraclient::KoraClient& client)
{
    const auto outputs = someOutputs(true);
    std::vector<koraclient::TakeEntry> entries;
    for (const Output& output : outputs)
    {
        const std::uint32_t input = between(1, sizeOf(output.first));
        const auto& made = request(output, input, LPR_RELEASED);
        entries.push_back({levelOf(output.first), made.number, input, output.second});
    }
    answered(outputs, between(0, 3) == 0 ? client.coherentTake(entries) : client.take(entries));
    (outputs.front().first == Signal::Video ? m_done.videoTakes : m_done.audioTakes) += outputs.size();
}

void DurableController::setLpr(koraclient::KoraClient& client)
{
    const auto outputs = someOutputs(false);
    std::vector<koraclient::LprEntry> entries;
    for (const Output& output : outputs)
    {
        const bool isLock = m_released.erase(output) > 0;
        const auto& made = request(output, std::nullopt, isLock ? LPR_LOCKED : LPR_RELEASED);
        entries.push_back({levelOf(output.first), output.second,
                           isLock ? koraclient::LprCommand::lock : koraclient::LprCommand::forcedRelease, made.number});
        if (!isLock)
        {
            m_released.insert(output);
        }
    }
    answered(outputs, client.setOutputLpr(entries).results);
    m_done.locks += outputs.size();
}

std::vector<DurableController::Output> DurableController::someOutputs(bool isForTakes)
{
    const Signal signal = between(0, 1) == 0 ? Signal::Video : Signal::Audio;
    const std::uint32_t half = sizeOf(signal) / m_numControllers / 2;
    const std::uint32_t kind = between(0, 7);
    const std::uint32_t most = kind < 4 ? 1 : kind < 7 ? 16 : mostEntries;
    const std::uint32_t count = between(std::min(most, 2U), std::min(most, half));
    const std::uint32_t first = between(0, half - 1);
    std::vector<Output> outputs;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const std::uint32_t own = (first + i) % half + (isForTakes ? 0 : half);
        outputs.emplace_back(signal, 1 + own * m_numControllers + m_share);
    }
    return outputs;
}

std::uint32_t DurableController::between(std::uint32_t least, std::uint32_t most)
{
    return std::uniform_int_distribution<std::uint32_t>(least, most)(m_random);
}

DurableController::Request& DurableController::request(const Output& output, const std::optional<std::uint32_t>& input,
                                                       LprState state)
{
    return m_requests[output].emplace_back(Request{s_nextNumber++, input, state});
}

void DurableController::answered(const std::vector<Output>& outputs, const std::vector<std::uint32_t>& results)
{
    const auto now = Clock::now();
    if (results != std::vector<std::uint32_t>(outputs.size(), 0))
    {
        throw std::runtime_error("refused with " + testing::PrintToString(results));
    }
    for (const Output& output : outputs)
    {
        m_requests[output].back().answered = now;
    }
    m_done.manyAtOnce += outputs.size() > 1 ? 1U : 0U;
}

bool DurableController::isAllowed(const MacroXptOutput& target, const std::vector<Request>& requests,
                                  Clock::time_point kept)
{
    bool isAllowed = false;
    for (const Request& request : requests)
    {
        isAllowed = isAllowed || request.matches(target);
        if (request.answered <= kept)
        {
            isAllowed = request.matches(target);
        }
    }
    return isAllowed;
}

DurableController::Figures DurableController::expectNothingLost(const testsupport::RouterRecord& record,
                                                                Clock::time_point kept, std::string& lost)
{
    Figures published;
    for (auto& [output, requests] : m_requests)
    {
        const bool mustBeThere = std::any_of(requests.begin(), requests.end(),
                                             [&](const Request& request) { return request.answered <= kept; });
        if (!mustBeThere)
        {
            continue;
        }
        const auto target = record.waitForTarget(
            output.first, output.second,
            [&, &all = requests](const MacroXptOutput& candidate) { return isAllowed(candidate, all, kept); },
            std::chrono::seconds(5));
        if (!target)
        {
            lost = describe(record, output, requests, kept);
            return published;
        }
        Request known = *std::find_if(requests.begin(), requests.end(),
                                      [&](const Request& request) { return request.matches(*target); });
        if (known.number >= m_firstOfLoad)
        {
            ++(!known.input                    ? published.locks
               : output.first == Signal::Video ? published.videoTakes
                                               : published.audioTakes);
        }
        known.answered = Clock::time_point::min(); // from here on this is what the output is known to be
        requests = {known};
    }
    return published;
}

std::string DurableController::describe(const testsupport::RouterRecord& record, const Output& output,
                                        const std::vector<Request>& requests, Clock::time_point kept)
{
    std::string text = std::string(toString(output.first)) + " " + std::to_string(output.second) + ": ";
    const auto last = record.lastTarget(output.first, output.second);
    text += last ? "request " + std::to_string(last->lprId) + " with input " + std::to_string(last->macroXptInput) +
                       " and state " + std::to_string(last->lprState) + " came"
                 : "nothing came";
    for (const Request& request : requests)
    {
        text += ", request " + std::to_string(request.number) +
                (request.input ? " for input " + std::to_string(*request.input) : "") + " and state " +
                std::to_string(request.state);
        text += request.answered == Clock::time_point::min()   ? " known from before"
                : request.answered == Clock::time_point::max() ? " unanswered"
                                                               : " answered " + secondsBefore(kept, request.answered);
    }
    return text;
}

void DurableController::releaseAfter(Clock::time_point kept)
{
    for (auto& [output, requests] : m_requests)
    {
        for (Request& request : requests)
        {
            if (request.answered > kept)
            {
                request.answered = Clock::time_point::max();
            }
        }
    }
}

} // namespace e2e
