#pragma once

#include <log4cxx/logger.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace testsupport
{

/// Records what any logger writes while it lives, of all levels; what was configured before is gone. Thread-safe.
class LogRecorder
{
public:
    struct Line
    {
        std::string logger;
        std::string level;
        std::string text;
        std::string file;
        int line = 0;
    };

    LogRecorder();
    ~LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    /// The logger of all that the bridge writes.
    static log4cxx::LoggerPtr logger();

    std::vector<Line> lines() const;
    /// The lines as "LEVEL text".
    std::vector<std::string> texts() const;
    /// The texts since the last call.
    std::vector<std::string> takeTexts();

    std::size_t count(const std::string& text) const;
    /// How many texts hold `part`.
    std::size_t countHolding(const std::string& part) const;
    /// True once the text is there, within a deadline.
    bool waitFor(const std::string& text) const;
    bool waitForHolding(const std::string& part) const;

private:
    class Appender;
    std::shared_ptr<Appender> m_appender;
    std::size_t m_taken = 0; // of the thread that takes
};

} // namespace testsupport
