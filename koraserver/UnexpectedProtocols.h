#pragma once

#include <log4cxx/logger.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

/// The protocol types other than router control that a controller has sent. Thread-safe: the connection's thread adds,
/// the console's thread shows.
class UnexpectedProtocols
{
public:
    /// Types that the table holds at most: a peer that sends noise must not fill the memory. Later ones are logged
    /// only.
    static constexpr std::size_t maxListedTypes = 4096;

    explicit UnexpectedProtocols(log4cxx::LoggerPtr logger);

    /// Notes the type under its name and logs it at INFO.
    void addUnexpectedProtocol(std::uint32_t protocolType, const std::string& name);

    /// Prints the heading and a line for each type to the console.
    void show() const;

    /// The name of a protocol type; "Unknown Protocol" when it has none.
    static const char* nameOf(std::uint32_t protocolType);

private:
    log4cxx::LoggerPtr m_logger;
    mutable std::mutex m_mutex;
    std::unordered_map<std::uint32_t, std::string> m_names;
};
