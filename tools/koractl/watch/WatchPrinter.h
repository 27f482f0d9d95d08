#pragma once

#include "koraclient/AskOutputs.h"
#include "koraclient/Watch.h"
#include "tools/common/Names.h"
#include "tools/koractl/common/CommandContext.h"

#include <cstdint>
#include <string>

namespace koractl
{

/// One line of fixed columns for a change.
std::string watchLine(std::uint32_t level, const koraclient::OutputRow& row, const Names& names = Names::none());
/// The same as one JSON object.
std::string watchJson(std::uint32_t level, const koraclient::OutputRow& row, const Names& names = Names::none());

/// Prints changes as lines (or JSON objects) and says on the error stream what the watch went through. Refers to the
/// context and its names.
class WatchPrinter : public koraclient::WatchListener
{
public:
    explicit WatchPrinter(CommandContext& context) : m_context(context), m_names(context.names()) {}

    void changed(std::uint32_t level, const koraclient::OutputRow& row) override;
    void missing(std::uint32_t level) override;
    void lost(const std::string& reason) override;
    void back(std::chrono::milliseconds gap) override;
    void resynchronised(std::uint32_t level, std::size_t differing) override;

private:
    CommandContext& m_context;
    const Names& m_names;
};

} // namespace koractl
