#pragma once

#include "koracommand/CmdHandler.h"
#include "koraserver/Connection.h"
#include "koraserver/MessageCutter.h"
#include "koraserver/UnexpectedProtocols.h"
#include "runtime/misc/TimingSamples.h"
#include "runtime/util/FailureLog.h"
#include "runtime/util/UniqueFd.h"

#include <log4cxx/logger.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <vector>

/// Serves one controller on a thread of its own: cuts its byte stream into messages, has router-control messages
/// handled one at a time and writes the responses back, those to what was received together in one call; messages of
/// other protocols are noted and get no answer.
///
/// `start`, `requestStop`, `stop` and destruction belong to the server's thread, everything else private to the
/// connection's thread or thread-safe. Owned by the server's slot. Any failure to receive, an exception, or a handler
/// that has no response ends this connection alone; the server then finds it not running and releases it.
class ConnectionImpl final : public Connection
{
public:
    /// Owns `socket` once `start` has returned, not before. `clientPort` in host order, `clientAddress` in network
    /// order. `browserWarnings` is shared by all connections.
    ConnectionImpl(log4cxx::LoggerPtr logger, int socket, std::uint16_t clientPort, std::uint32_t connectionId,
                   std::uint32_t clientAddress, std::unique_ptr<CmdHandler> cmdHandler,
                   com::tallowcrest::misc::TimingSamples& timingSamples,
                   std::shared_ptr<com::tallowcrest::util::LogLimit> browserWarnings);
    /// Stops the thread and closes the socket without waiting for the peer.
    ~ConnectionImpl() override;

    void start() override;
    void requestStop() override;
    void stop() override;
    bool isRunning() const override { return m_running; }
    std::uint32_t connectionId() const override { return m_connectionId; }
    int socket() const override { return m_socket; }
    std::uint32_t clientAddress() const override { return m_clientAddress; }
    void showUnexpectedProtocols() override;
    void showCommands() override;

private:
    void run();
    void processStream();
    void warnOfBrowser();
    /// All whole messages that are held. Whether there was one.
    bool answerMessages(MessageCutter& cutter);
    void handleMessage(std::span<const std::uint8_t> message);
    void processEnetRtrMessageCommand(std::span<const std::uint8_t> message);
    void sendAnswers();

    log4cxx::LoggerPtr m_logger;
    com::tallowcrest::misc::TimingSamples& m_timingSamples;
    const int m_socket;
    com::tallowcrest::util::UniqueFd m_ownedSocket; ///< the same descriptor, once owned
    const std::uint32_t m_connectionId;
    const std::uint32_t m_clientAddress;
    // Port and descriptor of the client stand in both.
    const std::string m_threadName;      ///< in the log: "Kora Connection:192.168.0.7:40112-9"
    const std::string m_shortThreadName; ///< as the system lists the thread: "Kora:40112-9"
    std::unique_ptr<CmdHandler> m_cmdHandler;
    std::uint32_t m_responseSequence = 0;
    /// To what was received together, and not sent yet. Without TCP_NODELAY the second of two small sends would wait
    /// for the client's delayed acknowledgement of the first, some 40 ms.
    std::vector<std::uint8_t> m_answers;
    UnexpectedProtocols m_unexpectedProtocols;
    com::tallowcrest::util::FailureLog m_sendFailures; ///< a dead client may have left hundreds of requests behind
    std::shared_ptr<com::tallowcrest::util::LogLimit> m_browserWarnings;
    std::atomic<bool> m_running{false};
    std::thread m_thread;
};

/// Makes and starts a `ConnectionImpl` with a command handler of its own for each accepted socket. Used by the server's
/// thread; the Director and the server share it.
class ConnectionFactoryImpl final : public ConnectionFactory
{
public:
    ConnectionFactoryImpl(const std::string& loggerName, std::shared_ptr<CmdHandlerFactory> cmdHandlerFactory);

    // ConnectionFactory
    std::shared_ptr<Connection> createConnection(int socket, std::uint16_t clientPort, std::uint32_t connectionId,
                                                 std::uint32_t clientAddress) override;

private:
    log4cxx::LoggerPtr m_logger;
    std::shared_ptr<CmdHandlerFactory> m_cmdHandlerFactory;
    com::tallowcrest::misc::TimingSamples& m_timingSamples;
    std::shared_ptr<com::tallowcrest::util::LogLimit> m_browserWarnings;
};
