#pragma once

#include "runtime/apartment/Task.h"
#include "runtime/misc/TelnetListener.h"
#include "runtime/util/FailureLog.h"
#include "runtime/util/WakeEvent.h"

#include <log4cxx/logger.h>

#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace com::tallowcrest::misc
{

class TelnetClient;

/// The telnet console: a task that accepts one operator at a time. `Print` and `isRunning` may be called by any thread
/// and never wait for the operator; `Getline` by one thread at a time, the menu's; `start` and `stop` belong to one
/// owner. Socket failures are logged and retried; none ends the task.
class TelnetIO : public apartment::Task
{
public:
    /// With `telnetOnly`, text is dropped and reading waits while no client is connected; without, standard output and
    /// standard input take the client's place.
    TelnetIO(const std::string& loggerName, std::uint16_t port, bool telnetOnly);
    /// Stops.
    ~TelnetIO() override;

    /// Starts the accepting thread; nothing when already running.
    void start() override;
    /// Ends the accepting thread and a waiting `Getline`, and closes the sockets, within about a second. Idempotent.
    void stop() override;
    bool isRunning() const override { return m_running.load(); }
    /// Operators can connect.
    bool isListening() const { return m_isListening; }
    bool isTelnetOnly() const { return m_telnetOnly; }

    /// Formats at most 2047 bytes (longer text is cut) for the connected client; returns their number, also when they
    /// are dropped, or a negative value when the format is wrong.
    [[gnu::format(printf, 2, 3)]] int Print(const char* format, ...);
    [[gnu::format(printf, 2, 0)]] int Print(const char* format, std::va_list arguments);

    /// As `getline` in Console.h.
    int Getline(char* buffer, int size);

    /// As `beginConsoleRound` in Console.h.
    void beginRound();

private:
    bool openServerSocket();
    void acceptConnections();
    void acceptOnce();
    void acceptClient();
    void takeClient(TelnetListener::Accepted accepted);
    void reject(TelnetListener::Accepted newcomer, std::uint32_t connected);
    void waitAccepting(std::chrono::milliseconds timeout) const;
    void logHeldBack(util::LogLimit& limit) const;

    std::shared_ptr<TelnetClient> client() const;
    void bindReader();
    bool isNewSessionForReader(const std::shared_ptr<TelnetClient>& current);
    int readClient(TelnetClient& current, char* buffer, int size, bool& isGone) const;
    int waitForClient(char* buffer, int size);
    void endSession(const std::shared_ptr<TelnetClient>& gone);
    void warnOfBrowser(std::uint32_t address);

    const log4cxx::LoggerPtr m_logger;
    const bool m_telnetOnly;
    std::thread m_thread;
    util::WakeEvent m_acceptorWake; ///< stop, or text that a client's socket did not take
    util::WakeEvent m_readerWake;   ///< stop, or a new client

    std::atomic<bool> m_isListening{false};

    // Of the accepting thread.
    TelnetListener m_listener;
    std::uint64_t m_lastSession = 0;
    util::LogLimit m_openFailures;
    util::LogLimit m_waitFailures;
    util::LogLimit m_acceptFailures;
    util::LogLimit m_rejections;

    std::mutex m_readMutex; // held while a line is read; guards the closing of a client against its reader
    bool m_inputHasEnded = false;
    util::LogLimit m_browsers;

    /// The thread that reads lines, and the session that it believes to be talking to.
    struct Reader
    {
        std::thread::id thread;
        std::uint64_t session = 0;
        bool isTold = false; ///< that another session has begun; bound to it only with the next question
    };
    mutable std::mutex m_mutex; // guards the two below; never held while waiting
    std::shared_ptr<TelnetClient> m_client;
    std::optional<Reader> m_reader;
};

} // namespace com::tallowcrest::misc
