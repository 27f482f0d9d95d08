#pragma once

#include "koraclient/AskOutputs.h"
#include "koraclient/KoraClient.h"
#include "koraclient/KoraTypes.h"
#include "tools/common/RestorePlan.h"

#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace korapanel
{

/// What became of one entry of an order.
struct OrderResult
{
    std::uint32_t level = 0;
    std::uint32_t output = 0;
    std::optional<std::uint32_t> input; ///< where one is part of it
    std::optional<std::uint32_t> code;  ///< the link's result; nothing when it was not sent or not answered
    std::string text;                   ///< the same in words
};

/// The results in the order of the entries; `trouble` is what stopped it, if anything did.
struct OrderOutcome
{
    std::vector<OrderResult> results;
    std::exception_ptr trouble;
};

/// Orders to the bridge, in as many messages as they need. On the link's thread; none throws.
OrderOutcome sendTakes(koraclient::KoraClient& client, const std::vector<koraclient::TakeEntry>& entries,
                       bool isCoherent);
OrderOutcome sendLocks(koraclient::KoraClient& client, const std::vector<koraclient::LprEntry>& entries);
OrderOutcome sendSalvo(koraclient::KoraClient& client, std::vector<koractl::RestoreStep> steps);

/// What a salvo has to change, of levels as they are.
std::vector<koractl::RestoreStep> planSalvo(const std::vector<koractl::OutputWish>& wishes,
                                            const std::map<std::uint32_t, koraclient::LevelSnapshot>& levels,
                                            std::uint32_t lprId);

} // namespace korapanel
