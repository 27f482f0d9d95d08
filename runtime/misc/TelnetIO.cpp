#include "runtime/misc/TelnetIO.h"

#include "runtime/misc/Console.h"
#include "runtime/misc/StandardInput.h"
#include "runtime/misc/TelnetClient.h"
#include "runtime/util/Log.h"
#include "runtime/util/Sockets.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace com::tallowcrest::misc
{
namespace
{
constexpr std::size_t printBufferSize = 2048;
constexpr int lookAgainMs = 1000;
constexpr auto logInterval = std::chrono::minutes(1);
constexpr int rejectionsPerInterval = 20;
} // namespace

TelnetIO::TelnetIO(const std::string& loggerName, std::uint16_t port, bool telnetOnly)
    : Task("TelnetIO"), m_logger(log4cxx::Logger::getLogger(loggerName)), m_telnetOnly(telnetOnly),
      m_listener(m_logger, port), m_openFailures(1, logInterval), m_waitFailures(1, logInterval),
      m_acceptFailures(1, logInterval), m_rejections(rejectionsPerInterval, logInterval),
      m_browsers(rejectionsPerInterval, logInterval)
{}

TelnetIO::~TelnetIO()
{
    TelnetIO::stop();
}

void TelnetIO::start()
{
    if (m_running.exchange(true))
    {
        return;
    }
    try
    {
        m_thread = std::thread(&TelnetIO::acceptConnections, this);
    }
    catch (...)
    {
        m_running.store(false);
        throw;
    }
}

void TelnetIO::stop()
{
    // 1. Nobody waits any longer.
    m_running.store(false);
    m_acceptorWake.signal();
    m_readerWake.signal();
    // 2. No more clients come.
    if (m_thread.joinable())
    {
        m_thread.join();
    }
    m_listener.close();
    // 3. The one that is there goes, once its reader has let go of it.
    const std::lock_guard reading(m_readMutex);
    std::shared_ptr<TelnetClient> last;
    {
        const std::lock_guard lock(m_mutex);
        last = std::move(m_client);
    }
    if (last)
    {
        last->close();
    }
}

int TelnetIO::Print(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int result = Print(format, arguments);
    va_end(arguments);
    return result;
}

int TelnetIO::Print(const char* format, std::va_list arguments)
{
    std::array<char, printBufferSize> text{};
    const int wanted = std::vsnprintf(text.data(), text.size(), format, arguments);
    if (wanted < 0)
    {
        return wanted;
    }
    const std::size_t size = std::min(static_cast<std::size_t>(wanted), text.size() - 1);

    std::shared_ptr<TelnetClient> receiver;
    bool isForAnother = false;
    {
        const std::lock_guard lock(m_mutex);
        receiver = m_client;
        isForAnother = receiver && m_reader && m_reader->thread == std::this_thread::get_id() &&
                       m_reader->session != receiver->session();
    }
    if (receiver && !isForAnother)
    {
        receiver->send({text.data(), size});
        if (receiver->hasPendingText())
        {
            m_acceptorWake.signal();
        }
    }
    else if (!receiver && !m_telnetOnly)
    {
        static_cast<void>(std::fwrite(text.data(), 1, size, stdout));
        static_cast<void>(std::fflush(stdout));
    }
    return static_cast<int>(size);
}

int TelnetIO::Getline(char* buffer, int size)
{
    copyLine("", buffer, size);
    const std::lock_guard reading(m_readMutex);
    bindReader();
    while (m_running.load() && !consoleStopRequested())
    {
        const auto current = client();
        if (isNewSessionForReader(current))
        {
            return consoleSessionChanged;
        }
        if (!current)
        {
            if (const int length = waitForClient(buffer, size); length >= 0)
            {
                return length;
            }
            continue;
        }
        bool isGone = false;
        if (const int length = readClient(*current, buffer, size, isGone); length >= 0)
        {
            return length;
        }
        if (isGone)
        {
            if (current->isBrowser())
            {
                warnOfBrowser(current->address());
            }
            endSession(current);
        }
    }
    return consoleStopping;
}

void TelnetIO::beginRound()
{
    const std::lock_guard lock(m_mutex);
    m_reader = Reader{std::this_thread::get_id(), m_client ? m_client->session() : 0};
}

std::shared_ptr<TelnetClient> TelnetIO::client() const
{
    const std::lock_guard lock(m_mutex);
    return m_client;
}

/// The calling thread asks a question: of the session that it talks to, or, when it was told that this one is over, of
/// the one that is there now.
void TelnetIO::bindReader()
{
    const std::lock_guard lock(m_mutex);
    if (!m_reader || m_reader->isTold)
    {
        m_reader = Reader{std::this_thread::get_id(), m_client ? m_client->session() : 0};
    }
    m_reader->thread = std::this_thread::get_id();
}

/// True when the client is not the one that the reader talks to. Without the telnet-only flag the way back to standard
/// input counts as well; with it there is nobody to tell.
bool TelnetIO::isNewSessionForReader(const std::shared_ptr<TelnetClient>& current)
{
    const std::lock_guard lock(m_mutex);
    const std::uint64_t session = current ? current->session() : 0;
    if (m_reader->session == session || (!current && m_telnetOnly))
    {
        return false;
    }
    m_reader->isTold = true;
    return true;
}

/// One look at the client's input: a line's length, or negative when there is none yet.
int TelnetIO::readClient(TelnetClient& current, char* buffer, int size, bool& isGone) const
{
    if (const auto line = current.takeLine())
    {
        return copyLine(*line, buffer, size);
    }
    std::array<pollfd, 3> waits{
        {{current.fd(), POLLIN, 0}, {m_readerWake.fd(), POLLIN, 0}, {consoleStopFd(), POLLIN, 0}}};
    if (::poll(waits.data(), waits.size(), lookAgainMs) > 0)
    {
        if (waits[0].revents != 0)
        {
            isGone = !current.receive();
        }
        if (waits[1].revents != 0)
        {
            m_readerWake.clear();
        }
    }
    return -1;
}

/// One wait without a client: the length of a line from standard input where that counts, or negative.
int TelnetIO::waitForClient(char* buffer, int size)
{
    StandardInput& input = standardInput();
    const bool isReadingInput = !m_telnetOnly;
    if (isReadingInput)
    {
        if (const auto line = input.takeLine())
        {
            return copyLine(*line, buffer, size);
        }
    }
    const int inputFd = isReadingInput && !m_inputHasEnded ? input.fd() : -1;
    std::array<pollfd, 3> waits{{{inputFd, POLLIN, 0}, {m_readerWake.fd(), POLLIN, 0}, {consoleStopFd(), POLLIN, 0}}};
    if (::poll(waits.data(), waits.size(), lookAgainMs) > 0)
    {
        if (waits[0].revents != 0)
        {
            input.readMore();
            m_inputHasEnded = input.takeEnd();
        }
        if (waits[1].revents != 0)
        {
            m_readerWake.clear();
        }
    }
    return -1;
}

void TelnetIO::endSession(const std::shared_ptr<TelnetClient>& gone)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_client == gone)
        {
            m_client.reset();
        }
    }
    gone->close();
    static_cast<void>(std::fputs("\n* Telnet Session Closed *", stdout));
    static_cast<void>(std::fflush(stdout));
    LOG_INFO_F(m_logger, "Telnet Session Closed");
}

void TelnetIO::warnOfBrowser(std::uint32_t address)
{
    if (m_browsers.allow())
    {
        LOG_WARN_F(m_logger, "HTTP request from %s to the console, closed", util::paddedText(address).c_str());
        logHeldBack(m_browsers);
    }
}

} // namespace com::tallowcrest::misc
