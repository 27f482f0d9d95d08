#include "tools/koractl/backup/Restore.h"

#include <algorithm>
#include <span>

#include "koraclient/SendInParts.h"
#include "koracommand/WireLayout.h"

namespace koractl
{
namespace
{

using koraclient::EntryOutcome;
using koraclient::KoraClient;
using koraclient::LprEntry;
using koraclient::PartsOutcome;
using koraclient::sendInParts;
using koraclient::TakeEntry;

/// Sends one part of each step of a group, where the step has it.
template <class Entry, class Send>
std::exception_ptr sendPart(std::span<RestoreStep> group, RestorePart<Entry> RestoreStep::*part, Send send)
{
    std::vector<Entry> entries;
    std::vector<EntryOutcome*> outcomes;
    for (RestoreStep& step : group)
    {
        if ((step.*part).entry)
        {
            entries.push_back(*(step.*part).entry);
            outcomes.push_back(&(step.*part).outcome);
        }
    }
    const PartsOutcome sent = sendInParts(entries, send);
    for (std::size_t i = 0; i < outcomes.size(); ++i)
    {
        *outcomes[i] = sent.outcomes[i];
    }
    return sent.trouble;
}

std::exception_ptr sendGroup(KoraClient& client, std::span<RestoreStep> group)
{
    const auto setLpr = [&client](const std::vector<LprEntry>& entries) {
        return client.setOutputLpr(entries).results;
    };
    const auto take = [&client](const std::vector<TakeEntry>& entries) { return client.take(entries); };
    if (auto trouble = sendPart(group, &RestoreStep::release, setLpr))
    {
        return trouble;
    }
    if (auto trouble = sendPart(group, &RestoreStep::take, take))
    {
        return trouble;
    }
    return sendPart(group, &RestoreStep::hold, setLpr);
}

} // namespace

std::exception_ptr sendRestore(KoraClient& client, std::vector<RestoreStep>& steps)
{
    constexpr std::size_t perMessage = wireLayout::entryListReq::maxEntries;
    const std::span<RestoreStep> all(steps);
    for (std::size_t at = 0; at < all.size(); at += perMessage)
    {
        if (auto trouble = sendGroup(client, all.subspan(at, std::min(perMessage, all.size() - at))))
        {
            return trouble;
        }
    }
    return nullptr;
}

} // namespace koractl
