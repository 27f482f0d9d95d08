#pragma once

#include "tools/common/ParseText.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace koractl
{

/// Adds an option or positional (CLI11 naming rules) whose text `parse` turns into the target's type; what `parse`
/// throws as std::invalid_argument becomes a usage error.
template <class T, class Parse>
CLI::Option* addParsed(CLI::App& app, const std::string& name, T& target, Parse parse, const std::string& typeName,
                       const std::string& description)
{
    return app
        .add_option_function<std::string>(
            name,
            [&target, parse, name](const std::string& text) {
                try
                {
                    target = parse(text);
                }
                catch (const std::invalid_argument& problem)
                {
                    throw CLI::ValidationError(name, problem.what());
                }
            },
            description)
        ->type_name(typeName);
}

/// Runs `resolve`, which reads what the user wrote for the argument `name`; what it throws as std::invalid_argument
/// becomes a usage error. For what can be read only when all options are known.
template <class Resolve>
auto resolved(const std::string& name, Resolve resolve)
{
    try
    {
        return resolve();
    }
    catch (const std::invalid_argument& problem)
    {
        throw CLI::ValidationError(name, problem.what());
    }
}

/// What `--format` means for outputs.
inline constexpr const char* outputFormatText = "1: without lock state; any other: with it (default 2)";

/// An unsigned 32-bit number.
inline CLI::Option* addNumber(CLI::App& app, const std::string& name, std::uint32_t& target,
                              const std::string& description)
{
    return addParsed(app, name, target, &parseNumber, "NUMBER", description);
}

} // namespace koractl
