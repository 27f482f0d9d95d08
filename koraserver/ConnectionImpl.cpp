#include "koraserver/ConnectionImpl.h"

#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "koraserver/ControllerSocket.h"
#include "runtime/util/HttpSign.h"
#include "runtime/util/Log.h"
#include "runtime/util/Metrics.h"
#include "runtime/util/Sockets.h"
#include "runtime/util/SystemError.h"
#include "runtime/util/ThreadName.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <string_view>
#include <utility>

using com::tallowcrest::util::Counter;
using com::tallowcrest::util::dottedText;
using com::tallowcrest::util::formatText;
using com::tallowcrest::util::Gauge;
using com::tallowcrest::util::Histogram;
using com::tallowcrest::util::HttpSign;
using com::tallowcrest::util::systemErrorText;

namespace
{

constexpr std::array<std::uint32_t, 12> answerTimeBounds{50,   100,   200,   500,   1000,   2000,
                                                         5000, 10000, 20000, 50000, 100000, 1000000};
Histogram answerTimes("korabridge_answer_seconds", "From a whole request to its response.", answerTimeBounds);

Gauge connectedControllers("korabridge_controllers_connected", "Controllers that have a slot.");
Counter browsers("korabridge_browsers_closed_total", "Connections closed because they spoke HTTP.");

constexpr int browserWarningsPerInterval = 20;
/// What leaves together at most: two of the longest answers, or hundreds of short ones.
constexpr std::size_t answersBytes = 2 * wireLayout::maxMessageBytes;

std::string_view asText(std::span<const std::uint8_t> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void reportEnd(const log4cxx::LoggerPtr& logger, const std::string& threadName, const char* reason) noexcept
{
    REPORT_ERROR_F(logger, "%s ended by an exception: %s", threadName.c_str(), reason);
}

} // namespace

ConnectionImpl::ConnectionImpl(log4cxx::LoggerPtr logger, int socket, std::uint16_t clientPort,
                               std::uint32_t connectionId, std::uint32_t clientAddress,
                               std::unique_ptr<CmdHandler> cmdHandler,
                               com::tallowcrest::misc::TimingSamples& timingSamples,
                               std::shared_ptr<com::tallowcrest::util::LogLimit> browserWarnings)
    : m_logger(std::move(logger)), m_timingSamples(timingSamples), m_socket(socket), m_connectionId(connectionId),
      m_clientAddress(clientAddress),
      m_threadName(
          formatText("Kora Connection:%s:%u-%d", dottedText(clientAddress).c_str(), unsigned{clientPort}, socket)),
      m_shortThreadName(formatText("Kora:%u-%d", unsigned{clientPort}, socket)), m_cmdHandler(std::move(cmdHandler)),
      m_unexpectedProtocols(m_logger), m_sendFailures(m_logger), m_browserWarnings(std::move(browserWarnings))
{
    m_answers.reserve(answersBytes);
}

ConnectionImpl::~ConnectionImpl()
{
    stop();
    if (m_ownedSocket.isOpen())
    {
        prepareToClose(m_ownedSocket.get());
        connectedControllers.add(-1);
    }
}

void ConnectionImpl::start()
{
    if (m_thread.joinable())
    {
        return;
    }
    m_running = true;
    try
    {
        m_thread = std::thread(&ConnectionImpl::run, this);
    }
    catch (...)
    {
        m_running = false;
        throw;
    }
    m_ownedSocket.reset(m_socket);
    connectedControllers.add(1);
}

void ConnectionImpl::requestStop()
{
    m_running = false;
    if (m_ownedSocket.isOpen())
    {
        // Fails only when the peer has gone already.
        static_cast<void>(::shutdown(m_ownedSocket.get(), SHUT_RDWR));
    }
}

void ConnectionImpl::stop()
{
    requestStop();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

void ConnectionImpl::showUnexpectedProtocols()
{
    m_unexpectedProtocols.show();
}

void ConnectionImpl::showCommands()
{
    m_cmdHandler->show();
}

void ConnectionImpl::run()
{
    com::tallowcrest::util::nameThread(m_shortThreadName);
    try
    {
        processStream();
        m_sendFailures.succeeded(); // what is left of the count
    }
    catch (const std::exception& error)
    {
        reportEnd(m_logger, m_threadName, error.what());
    }
    catch (...)
    {
        reportEnd(m_logger, m_threadName, "unknown exception");
    }
    m_running = false;
}

void ConnectionImpl::processStream()
{
    MessageCutter cutter;
    // Only until the first message: whoever has sent one is a controller.
    std::optional<HttpSign> browser(HttpSign::Methods::AtTheStart);
    while (m_running)
    {
        const std::span<std::uint8_t> space = cutter.freeSpace();
        // Blocks until the peer sends or goes, or requestStop shuts the socket down.
        const ssize_t count = ::recv(m_socket, space.data(), space.size(), 0);
        if (!m_running)
        {
            return;
        }
        if (count < 0)
        {
            if (errno == EINTR)
            {
                continue;
            }
            LOG_INFO_F(m_logger, "recv failed socket %d, %s", m_socket, systemErrorText().c_str());
            return;
        }
        if (count == 0)
        {
            LOG_INFO_F(m_logger, "recv disconnect, fd = %d", m_socket);
            // Whoever has said its last word may still listen. Here, where nobody else is held up.
            waitUntilSent(m_socket, std::chrono::seconds(lingerSeconds));
            return;
        }
        if (browser && browser->feed(asText(space.first(static_cast<std::size_t>(count)))))
        {
            warnOfBrowser();
            return;
        }
        cutter.stored(static_cast<std::size_t>(count));
        if (answerMessages(cutter))
        {
            browser.reset();
        }
    }
}

bool ConnectionImpl::answerMessages(MessageCutter& cutter)
{
    bool isAnswered = false;
    try
    {
        for (auto message = cutter.next(); message && m_running; message = cutter.next())
        {
            isAnswered = true;
            handleMessage(*message);
        }
    }
    catch (...)
    {
        sendAnswers(); // what was done before is told
        throw;
    }
    sendAnswers();
    return isAnswered;
}

void ConnectionImpl::warnOfBrowser()
{
    browsers.add();
    if (!m_browserWarnings->allow())
    {
        return;
    }
    LOG_WARN_F(m_logger, "HTTP request from %s to the controllers' port, closed", dottedText(m_clientAddress).c_str());
    if (const auto count = m_browserWarnings->takeHeldBack(); count > 0)
    {
        LOG_INFO_F(m_logger, "repeated %u times since it was last logged", count);
    }
}

void ConnectionImpl::handleMessage(std::span<const std::uint8_t> message)
{
    const std::uint32_t protocolType = WireReader(message).bigEndianWordAt(wireLayout::header::protocolType);
    if (protocolType == wireLayout::routerControlProtocol)
    {
        processEnetRtrMessageCommand(message);
    }
    else
    {
        m_unexpectedProtocols.addUnexpectedProtocol(protocolType, UnexpectedProtocols::nameOf(protocolType));
    }
}

void ConnectionImpl::processEnetRtrMessageCommand(std::span<const std::uint8_t> message)
{
    // Timing samples: the message id, with the request's tag or the sequence that its response is about to get.
    const WireReader request(message);
    m_timingSamples.record(request.bigEndianWordAt(wireLayout::header::msgId),
                           request.bigEndianWordAt(wireLayout::header::sequence));
    const auto begin = std::chrono::steady_clock::now();
    const std::unique_ptr<Rsp> response = m_cmdHandler->handle(message);
    if (response == nullptr)
    {
        LOG_INFO_F(m_logger, "no response, shutting down client connection, fd = %d", m_socket);
        m_running = false;
        return;
    }
    const auto taken = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    answerTimes.observe(static_cast<std::uint64_t>(taken.count()));
    const WireReader answer({response->getData(), response->getLength()});
    m_timingSamples.record(answer.bigEndianWordAt(wireLayout::header::msgId), m_responseSequence);
    response->setSequence(m_responseSequence++);
    if (m_answers.size() + response->getLength() > m_answers.capacity())
    {
        sendAnswers();
    }
    m_answers.insert(m_answers.end(), response->getData(), response->getData() + response->getLength());
}

void ConnectionImpl::sendAnswers()
{
    std::span<const std::uint8_t> unsent(m_answers);
    while (!unsent.empty())
    {
        // One call takes all of it, unless a signal cuts it short.
        const ssize_t count = ::send(m_socket, unsent.data(), unsent.size(), MSG_NOSIGNAL);
        if (count >= 0)
        {
            unsent = unsent.subspan(static_cast<std::size_t>(count));
        }
        else if (errno != EINTR)
        {
            const int error = errno;
            if (m_running) // else it fails because the socket was shut down to stop
            {
                m_sendFailures.warn({formatText("send %d", error),
                                     formatText("send client response failed, %s", systemErrorText(error).c_str())});
            }
            break;
        }
    }
    m_answers.clear();
}

ConnectionFactoryImpl::ConnectionFactoryImpl(const std::string& loggerName,
                                             std::shared_ptr<CmdHandlerFactory> cmdHandlerFactory)
    : m_logger(log4cxx::Logger::getLogger(loggerName)), m_cmdHandlerFactory(std::move(cmdHandlerFactory)),
      m_timingSamples(com::tallowcrest::misc::timingSamples()),
      m_browserWarnings(
          std::make_shared<com::tallowcrest::util::LogLimit>(browserWarningsPerInterval, std::chrono::minutes(1)))
{}

std::shared_ptr<Connection> ConnectionFactoryImpl::createConnection(int socket, std::uint16_t clientPort,
                                                                    std::uint32_t connectionId,
                                                                    std::uint32_t clientAddress)
{
    auto connection = std::make_shared<ConnectionImpl>(m_logger, socket, clientPort, connectionId, clientAddress,
                                                       m_cmdHandlerFactory->createCmdHandler(connectionId),
                                                       m_timingSamples, m_browserWarnings);
    connection->start();
    return connection;
}
