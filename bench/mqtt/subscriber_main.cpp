// Subscribes to one topic of an MQTT broker with QoS 1, acknowledges and counts the messages. Prints "announced" once
// subscribed, and on SIGUSR1 and at its end (SIGTERM, SIGINT) "samples N".

#include "bench/korabench/Client.h"
#include "bench/mqtt/Mqtt.h"
#include "bench/support/CountOnSignal.h"
#include "runtime/util/SystemError.h"

#include <CLI/CLI.hpp>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

namespace
{

using com::tallowcrest::util::systemErrorText;

std::atomic<std::uint64_t> g_messages{0};

/// A connection to the broker that takes packets one by one and answers those that came together in one piece.
class Subscription
{
public:
    Subscription(const korabench::Endpoint& endpoint, const std::string& topic)
        : m_socket(korabench::connectTo(endpoint))
    {
        sendAll(mqtt::connectPacket("bench_subscriber"));
        await(mqtt::connectAck);
        sendAll(mqtt::subscribePacket(topic));
        await(mqtt::subscribeAck);
    }

    void run()
    {
        while (receive())
        {
            mqtt::Bytes answers;
            for (auto packet = next(); !packet.empty(); packet = next())
            {
                if ((packet[0] & mqtt::typeMask) == mqtt::publish)
                {
                    ++g_messages;
                    const mqtt::Bytes answer = mqtt::publishAckPacket(mqtt::packetIdOf(packet));
                    answers.insert(answers.end(), answer.begin(), answer.end());
                }
            }
            sendAll(answers);
        }
    }

private:
    void await(std::uint8_t type)
    {
        auto packet = next();
        while (packet.empty())
        {
            if (!receive())
            {
                throw std::runtime_error("the broker closed the connection");
            }
            packet = next();
        }
        if (packet[0] != type)
        {
            throw std::runtime_error("the broker sent something else");
        }
    }

    bool receive()
    {
        if (m_begin > 0)
        {
            std::copy(m_buffer.data() + m_begin, m_buffer.data() + m_end, m_buffer.data());
            m_end -= m_begin;
            m_begin = 0;
        }
        for (;;)
        {
            const ssize_t received = ::recv(m_socket.get(), m_buffer.data() + m_end, m_buffer.size() - m_end, 0);
            if (received >= 0)
            {
                m_end += static_cast<std::size_t>(received);
                return received > 0;
            }
            if (errno != EINTR && errno != EAGAIN)
            {
                throw std::runtime_error("the broker is gone: " + systemErrorText());
            }
        }
    }

    std::span<const std::uint8_t> next()
    {
        const auto packet = mqtt::firstPacket({m_buffer.data() + m_begin, m_end - m_begin});
        m_begin += packet.size();
        return packet;
    }

    void sendAll(const mqtt::Bytes& bytes) const
    {
        const ssize_t sent = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent != static_cast<ssize_t>(bytes.size()))
        {
            throw std::runtime_error("the broker took nothing: " + systemErrorText());
        }
    }

    static constexpr std::size_t capacity = 65536;
    com::tallowcrest::util::UniqueFd m_socket;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::array<std::uint8_t, capacity> m_buffer{};
};

void receiveAll(Subscription& subscription)
{
    try
    {
        subscription.run();
    }
    catch (const std::exception& error)
    {
        std::cerr << "bench_subscriber: " << error.what() << std::endl;
    }
}

} // namespace

int main(int argc, char** argv)
{
    constexpr std::uint16_t mqttPort = 1883;
    korabench::Endpoint endpoint{.port = mqttPort};
    std::string topic = "bench";
    CLI::App app("Subscribes to a topic of an MQTT broker and counts the messages.", "bench_subscriber");
    app.add_option("--host", endpoint.address, "name or address of the broker")->capture_default_str();
    app.add_option("--port", endpoint.port, "Its port")->capture_default_str();
    app.add_option("--topic", topic, "Topic")->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    const sigset_t signals = bench::blockCountSignals();
    try
    {
        Subscription subscription(endpoint, topic);
        std::cout << "announced" << std::endl;
        std::thread receiving(receiveAll, std::ref(subscription));
        bench::printCountOnSignal(signals, g_messages);
        std::_Exit(EXIT_SUCCESS); // the thread waits for messages as long as there is a broker
    }
    catch (const std::exception& error)
    {
        std::cerr << "bench_subscriber: " << error.what() << std::endl;
        return EXIT_FAILURE;
    }
}
