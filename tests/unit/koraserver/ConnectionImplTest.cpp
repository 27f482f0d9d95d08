#include "tests/unit/koraserver/ConnectionImplFixture.h"

#include <pthread.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <stdexcept>
#include <system_error>

using korabytes::request;
using korabytes::wordAt;
using testsupport::waitUntil;
using namespace std::chrono_literals;

namespace
{

using ConnectionImplTest = ConnectionImplFixture;

} // namespace

TEST_F(ConnectionImplTest, KnowsItsSlotSocketAndAddress)
{
    EXPECT_EQ(m_sut->connectionId(), 7U);
    EXPECT_EQ(m_sut->socket(), m_socket);
    EXPECT_EQ(m_sut->clientAddress(), htonl(INADDR_LOOPBACK));
    m_sut->start();
}

TEST_F(ConnectionImplTest, SystemListsItsThreadUnderTheShortName)
{
    m_sut->start();

    const auto isListed = [this] {
        for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        {
            std::string name;
            std::getline(std::ifstream(task.path() / "comm"), name);
            if (name == "Kora:" + clientName())
            {
                return true;
            }
        }
        return false;
    };
    EXPECT_TRUE(waitUntil(isListed));
}

TEST_F(ConnectionImplTest, RequestIsHandedOverWholeAndItsAnswerSent)
{
    m_sut->start();
    const std::string bytes = request(0x01020304, wireLayout::msgId::tally, 28);

    m_client->send(bytes);
    const std::string answer = receiveAnswer();

    EXPECT_EQ(m_commands.requests(), std::vector{bytes});
    ASSERT_EQ(answer.size(), answerLength);
    EXPECT_EQ(wordAt(answer, wireLayout::header::protocolType), 12U);
    EXPECT_EQ(wordAt(answer, wireLayout::header::sequence), 0U);
    EXPECT_EQ(wordAt(answer, wireLayout::header::length), answerLength);
    EXPECT_EQ(wordAt(answer, wireLayout::header::msgId), 0x8000005eU);
    EXPECT_EQ(wordAt(answer, wireLayout::rsp::tag), 0x01020304U);
}

TEST_F(ConnectionImplTest, TwoRequestsInOneSegmentAreAnsweredInOrderWithCountingSequence)
{
    m_sut->start();

    m_client->send(request(11) + request(22));
    const std::string first = receiveAnswer();
    const std::string second = receiveAnswer();

    ASSERT_EQ(first.size(), answerLength);
    ASSERT_EQ(second.size(), answerLength);
    EXPECT_EQ(wordAt(first, wireLayout::rsp::tag), 11U);
    EXPECT_EQ(wordAt(first, wireLayout::header::sequence), 0U);
    EXPECT_EQ(wordAt(second, wireLayout::rsp::tag), 22U);
    EXPECT_EQ(wordAt(second, wireLayout::header::sequence), 1U);
}

TEST_F(ConnectionImplTest, AnswersToWhatWasReceivedTogetherLeaveTogether)
{
    std::promise<void> released;
    m_commands.answer = [&, wait = released.get_future().share()](std::span<const std::uint8_t> message) {
        if (WireReader(message).bigEndianWordAt(wireLayout::header::sequence) == 3)
        {
            wait.wait();
        }
        return std::make_unique<FakeRsp>(message, answerLength);
    };
    m_client->send(request(1) + request(2) + request(3));

    m_sut->start();

    EXPECT_TRUE(waitUntil([this] { return m_commands.requests().size() == 3; }));
    EXPECT_EQ(m_client->receive(1, 20ms), "");
    released.set_value();
    EXPECT_EQ(m_client->receive(3 * answerLength).size(), 3 * answerLength);
}

TEST_F(ConnectionImplTest, LongAnswersDoNotWaitForAllThatWasReceivedWithTheirs)
{
    std::promise<void> released;
    m_commands.answer = [&, wait = released.get_future().share()](std::span<const std::uint8_t> message) {
        if (WireReader(message).bigEndianWordAt(wireLayout::header::sequence) == 4)
        {
            wait.wait();
        }
        return longestAnswer(message);
    };
    m_client->send(request(1) + request(2) + request(3) + request(4));

    m_sut->start();

    EXPECT_EQ(m_client->receive(2 * 8192).size(), 2U * 8192);
    EXPECT_EQ(m_client->receive(1, 20ms), "");
    released.set_value();
    EXPECT_EQ(m_client->receive(2 * 8192).size(), 2U * 8192);
}

TEST_F(ConnectionImplTest, WhatWasDoneBeforeAnExceptionIsAnswered)
{
    m_commands.answer = [](std::span<const std::uint8_t> message) {
        if (WireReader(message).bigEndianWordAt(wireLayout::header::sequence) == 2)
        {
            throw std::runtime_error("no such thing");
        }
        return std::make_unique<FakeRsp>(message, answerLength);
    };
    m_client->send(request(1) + request(2));

    m_sut->start();

    EXPECT_EQ(wordAt(receiveAnswer(), wireLayout::rsp::tag), 1U);
    EXPECT_TRUE(ends());
}

TEST_F(ConnectionImplTest, RequestSplitOverSegmentsIsAnsweredOnce)
{
    m_sut->start();
    const std::string bytes = request(5, wireLayout::msgId::take, 40);

    for (const char byte : bytes)
    {
        m_client->send(std::string(1, byte));
    }
    m_client->send(request(6));

    EXPECT_EQ(wordAt(receiveAnswer(), wireLayout::rsp::tag), 5U);
    EXPECT_EQ(wordAt(receiveAnswer(), wireLayout::rsp::tag), 6U);
    EXPECT_EQ(m_commands.requests(), (std::vector{bytes, request(6)}));
}

TEST_F(ConnectionImplTest, InvalidLengthIsDroppedAndTheConnectionStaysUp)
{
    m_sut->start();
    m_client->send(request(1));
    ASSERT_EQ(receiveAnswer().size(), answerLength);

    // A request follows in the same segment: it is held when the header is judged, and goes with it.
    m_client->send(korabytes::header(12, 2, 8193, 0x50) + request(3));
    while (m_client->receive(answerLength, 20ms).empty()) // until the next request is no longer held with it
    {
        m_client->send(request(4));
    }

    const auto requests = m_commands.requests();
    ASSERT_GE(requests.size(), 2U);
    EXPECT_EQ(requests.back(), request(4));
    EXPECT_EQ(std::count(requests.begin(), requests.end(), request(3)), 0);
    EXPECT_TRUE(m_sut->isRunning());
}

TEST_F(ConnectionImplTest, OtherProtocolsGetNoAnswerAndAreListedOnce)
{
    m_sut->start();

    m_client->send(korabytes::message(14, 1, 0x50, 24) + korabytes::message(14, 2, 0x50) +
                   korabytes::message(99, 3, 0x50, 8192) + request(4));

    EXPECT_EQ(wordAt(receiveAnswer(), wireLayout::rsp::tag), 4U);
    EXPECT_EQ(m_commands.requests(), std::vector{request(4)});
    EXPECT_EQ(m_log.count("INFO Unexpected Protocol: nptZT4100ProtocolType 0xe"), 2U);
    EXPECT_EQ(m_log.count("INFO Unexpected Protocol: Unknown Protocol 0x63"), 1U);
    testing::internal::CaptureStdout();
    m_sut->showUnexpectedProtocols();
    const std::string table = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 3);
    EXPECT_NE(table.find("               0x0e nptZT4100ProtocolType\n"), std::string::npos);
    EXPECT_NE(table.find("               0x63 Unknown Protocol\n"), std::string::npos);
}

TEST_F(ConnectionImplTest, ShowsTheCommandsOfItsHandler)
{
    testing::internal::CaptureStdout();

    m_sut->showCommands();

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "the handler's commands\n");
}

TEST_F(ConnectionImplTest, BrowserIsClosedAndNothingThatItSendsIsHandled)
{
    m_sut->start();

    m_client->send("PUT / HTTP/1.1\r\n" + request(1));

    EXPECT_TRUE(ends());
    EXPECT_TRUE(m_commands.requests().empty());
    EXPECT_EQ(m_log.texts(),
              std::vector<std::string>{"WARN HTTP request from 127.0.0.1 to the controllers' port, closed"});
}

TEST_F(ConnectionImplTest, BrowserBeyondTheLimitIsClosedWithoutAWarning)
{
    ASSERT_TRUE(m_browserWarnings->allow());
    m_sut->start();

    m_client->send("GET ");

    EXPECT_TRUE(ends());
    EXPECT_TRUE(m_log.texts().empty());
    EXPECT_EQ(m_browserWarnings->takeHeldBack(), 1U);
}

TEST_F(ConnectionImplTest, OfManyBrowsersTwentyInAMinuteAreWarnedOf)
{
    ConnectionFactoryImpl sut("KORABRIDGE", std::make_shared<FakeCmdHandlerFactory>(m_commands));
    const auto listening = std::get<com::tallowcrest::util::UniqueFd>(openControllerPort(nullptr));
    for (int i = 0; i < 22; ++i)
    {
        const auto client = testsupport::TcpSocket::connect(serverPort);
        const auto connection = sut.createConnection(::accept(listening.get(), nullptr, nullptr), 1, 0, 0);
        client->send("GET ");
        EXPECT_TRUE(testsupport::waitUntil([&] { return !connection->isRunning(); })) << i;
    }

    EXPECT_EQ(m_log.countHolding("HTTP request from"), 20U);
}

TEST_F(ConnectionImplTest, WhoHasSentAMessageMaySendAnythingElse)
{
    m_sut->start();
    m_client->send(request(1));
    ASSERT_EQ(receiveAnswer().size(), answerLength);

    m_client->send(korabytes::message(0x504f5354, 2, 0x50) + korabytes::header(12, 3, 24, 0x50) + "\nHost: x" +
                   request(4));

    ASSERT_EQ(receiveAnswer().size(), answerLength);
    EXPECT_EQ(wordAt(receiveAnswer(), wireLayout::rsp::tag), 4U);
}

TEST_F(ConnectionImplTest, ClientThatClosesEndsIt)
{
    m_sut->start();

    m_client->close();

    EXPECT_TRUE(ends());
    EXPECT_EQ(m_log.texts(), std::vector{"INFO recv disconnect, fd = " + std::to_string(m_socket)});
}

TEST_F(ConnectionImplTest, ClientThatOnlyEndsItsSendingIsStillAnswered)
{
    m_sut->start();

    m_client->send(request(1) + request(2));
    ASSERT_EQ(::shutdown(m_client->fd(), SHUT_WR), 0);

    EXPECT_EQ(receiveAnswer().size(), answerLength);
    EXPECT_EQ(receiveAnswer().size(), answerLength);
    EXPECT_TRUE(ends());
}

TEST_F(ConnectionImplTest, ClientThatOnlyEndsItsSendingGetsWhatItsBuffersDidNotTake)
{
    const std::size_t answers = leaveAnswersUnsent();

    ASSERT_EQ(::shutdown(m_client->fd(), SHUT_WR), 0);

    EXPECT_TRUE(m_log.waitForHolding("INFO recv disconnect"));
    EXPECT_FALSE(waitUntil([this] { return !m_sut->isRunning(); }, 50ms)) << "it waits for the rest to leave";
    EXPECT_EQ(m_client->receive(answers * 8192).size(), answers * 8192);
    EXPECT_TRUE(ends());
}

TEST_F(ConnectionImplTest, ClientThatOnlyEndsItsSendingAndDoesNotReadIsGivenUp)
{
    static_cast<void>(leaveAnswersUnsent());

    ASSERT_EQ(::shutdown(m_client->fd(), SHUT_WR), 0);

    EXPECT_TRUE(ends());
}

TEST_F(ConnectionImplTest, ClientThatResetsEndsIt)
{
    m_sut->start();

    m_client->reset();

    EXPECT_TRUE(ends());
    EXPECT_EQ(m_log.texts(),
              std::vector{"INFO recv failed socket " + std::to_string(m_socket) + ", Connection reset by peer"});
}

TEST_F(ConnectionImplTest, FailedSendIsLoggedAndTheNextReceiveEndsTheConnection)
{
    std::promise<void> gone;
    m_commands.answer = [&gone](std::span<const std::uint8_t> message) {
        gone.get_future().wait();
        return std::make_unique<FakeRsp>(message, answerLength);
    };
    m_sut->start();
    m_client->send(request(1));
    ASSERT_TRUE(waitUntil([this] { return !m_commands.requests().empty(); }));

    m_client->reset();
    gone.set_value();

    EXPECT_TRUE(ends());
    ASSERT_EQ(m_log.texts().size(), 2U);
    EXPECT_EQ(m_log.texts()[0], "WARN send client response failed, Connection reset by peer");
    EXPECT_EQ(m_log.texts()[1].substr(0, 9), "INFO recv");
}

TEST_F(ConnectionImplTest, RequestsThatADeadClientLeftBehindAreHandledAndTheirFailedSendsCounted)
{
    constexpr std::size_t requests = 200;
    std::promise<void> gone;
    m_commands.answer = [reset = gone.get_future().share()](std::span<const std::uint8_t> message) {
        reset.wait();
        return longestAnswer(message); // two of them leave together
    };
    std::string bytes;
    for (std::uint32_t tag = 0; tag < requests; ++tag)
    {
        bytes += request(tag);
    }
    m_client->send(bytes); // in one piece, and received in one, as the connection's thread does not run yet
    m_sut->start();
    ASSERT_TRUE(waitUntil([this] { return !m_commands.requests().empty(); }));

    m_client->reset();
    gone.set_value();

    EXPECT_TRUE(ends());
    m_sut->stop();
    EXPECT_EQ(m_commands.requests().size(), requests);
    EXPECT_EQ(m_log.countHolding("WARN send client response failed, "), 2U) << "the reset, then the broken pipe";
    EXPECT_EQ(m_log.count("WARN repeated 98 times: send client response failed, Broken pipe"), 1U);
}

TEST_F(ConnectionImplTest, HandlerWithoutAResponseEndsItBeforeTheNextMessage)
{
    m_commands.answer = [](std::span<const std::uint8_t>) { return nullptr; };
    m_sut->start();

    m_client->send(request(1) + request(2));

    EXPECT_TRUE(ends());
    EXPECT_EQ(m_commands.requests().size(), 1U);
}

TEST_F(ConnectionImplTest, ExceptionIsLoggedAndEndsThisConnectionAlone)
{
    m_commands.answer = [](std::span<const std::uint8_t>) -> std::unique_ptr<Rsp> {
        throw std::runtime_error("no such thing");
    };
    m_sut->start();

    m_client->send(request(1));

    EXPECT_TRUE(ends());
    EXPECT_EQ(m_log.texts(),
              std::vector{"ERROR Kora Connection:127.0.0.1:" + clientName() + " ended by an exception: no such thing"});
}

TEST_F(ConnectionImplTest, ForeignExceptionIsLoggedToo)
{
    m_commands.answer = [](std::span<const std::uint8_t>) -> std::unique_ptr<Rsp> { throw 42; };
    m_sut->start();

    m_client->send(request(1));

    EXPECT_TRUE(ends());
    EXPECT_EQ(m_log.texts(), std::vector{"ERROR Kora Connection:127.0.0.1:" + clientName() +
                                         " ended by an exception: unknown exception"});
}

TEST_F(ConnectionImplTest, RequestAndResponseAreSampledWithTagAndSequence)
{
    m_samples.start();
    m_sut->start();

    m_client->send(request(0xabc, wireLayout::msgId::take) + request(0xdef, wireLayout::msgId::tally));
    ASSERT_EQ(receiveAnswer().size(), answerLength);
    ASSERT_EQ(receiveAnswer().size(), answerLength);

    std::stringstream written;
    m_samples.writeSamples(written);
    std::string samples; // without the times
    for (std::string line; std::getline(written, line);)
    {
        samples += line.substr(line.find(", ") + 2) + '\n';
    }
    EXPECT_EQ(samples, "80, 0xabc\n2147483728, 0x0\n94, 0xdef\n2147483742, 0x1\n");
}

TEST_F(ConnectionImplTest, StopEndsAnIdleConnectionAndTheClientSeesACleanEnd)
{
    m_sut->start();
    m_client->send(request(1));
    ASSERT_TRUE(waitUntil([this] { return !m_commands.requests().empty(); }));
    ASSERT_EQ(receiveAnswer().size(), answerLength);

    m_sut->stop();
    EXPECT_FALSE(m_sut->isRunning());
    m_sut->stop();
    m_sut.reset();

    char byte = 0;
    EXPECT_EQ(::recv(m_client->fd(), &byte, 1, 0), 0) << "an orderly end, no reset";
}

TEST_F(ConnectionImplTest, EveryByteOfLongAnswersArrivesAtASlowReader)
{
    m_commands.answer = longestAnswer;
    m_sut->start();
    floodWithoutReading();
    const std::size_t before = m_commands.requests().size();

    for (std::uint32_t sequence = 0; sequence < before; ++sequence)
    {
        const std::string answer = m_client->receive(8192);
        ASSERT_EQ(answer.size(), 8192U);
        ASSERT_EQ(wordAt(answer, wireLayout::header::sequence), sequence);
    }
}

TEST_F(ConnectionImplTest, SignalsDisturbNeitherReceivingNorSending)
{
    // A handler without SA_RESTART makes the system calls return EINTR.
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
    std::promise<pthread_t> thread;
    m_commands.answer = [&thread, told = false](std::span<const std::uint8_t> message) mutable {
        if (!told)
        {
            thread.set_value(::pthread_self());
            told = true;
        }
        return longestAnswer(message);
    };
    m_sut->start();
    m_client->send(request(1));
    const pthread_t connectionThread = thread.get_future().get();
    ASSERT_EQ(m_client->receive(8192).size(), 8192U);
    floodWithoutReading();
    const std::size_t count = m_commands.requests().size();

    for (std::size_t i = 1; i < count; ++i)
    {
        ASSERT_EQ(::pthread_kill(connectionThread, SIGUSR1), 0);
        const std::string answer = m_client->receive(8192);
        ASSERT_EQ(answer.size(), 8192U);
        ASSERT_EQ(wordAt(answer, wireLayout::header::sequence), i);
    }
    EXPECT_TRUE(m_sut->isRunning());
}

TEST_F(ConnectionImplTest, StartWithoutAThreadToBeHadLeavesTheSocketToTheCaller)
{
    // No machine has room for a stack of this size.
    constexpr auto hugeSize = static_cast<std::size_t>(sizeof(void*) == 4 ? 0xf0000000U : std::uint64_t{1} << 47U);
    pthread_attr_t before;
    ASSERT_EQ(::pthread_getattr_default_np(&before), 0);
    pthread_attr_t huge;
    ASSERT_EQ(::pthread_getattr_default_np(&huge), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&huge, hugeSize), 0);
    ASSERT_EQ(::pthread_setattr_default_np(&huge), 0);

    EXPECT_THROW(m_sut->start(), std::system_error);

    ASSERT_EQ(::pthread_setattr_default_np(&before), 0);
    EXPECT_FALSE(m_sut->isRunning());
    m_sut.reset();
    EXPECT_EQ(::close(m_socket), 0) << "still open";
}

TEST_F(ConnectionImplTest, SecondStartChangesNothing)
{
    m_sut->start();
    m_sut->start();

    m_client->send(request(1));

    EXPECT_EQ(receiveAnswer().size(), answerLength);
}
