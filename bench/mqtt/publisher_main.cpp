// The load that korabench puts on the bridge, put on an MQTT broker: each client publishes a message with QoS 1, waits
// for its acknowledgement and publishes the next.

#include "bench/korabench/LoadRun.h"
#include "bench/mqtt/Mqtt.h"

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

int main(int argc, char** argv)
{
    constexpr std::uint16_t mqttPort = 1883;
    constexpr std::size_t mostPayload = 100;
    korabench::Endpoint endpoint{.port = mqttPort};
    korabench::LoadOptions load;
    std::string topic = "bench";
    std::size_t payloadBytes = 20;
    CLI::App app("A load of MQTT publishers with QoS 1.", "bench_publisher");
    app.add_option("--host", endpoint.address, "name or address of the broker")->capture_default_str();
    app.add_option("--port", endpoint.port, "Its port")->capture_default_str();
    app.add_option("--topic", topic, "Topic")->capture_default_str();
    app.add_option("--payload", payloadBytes, "Bytes of a message")
        ->capture_default_str()
        ->check(CLI::Range(std::size_t{0}, mostPayload));
    load.addTo(app);
    CLI11_PARSE(app, argc, argv);
    try
    {
        const std::string idPrefix = "bench_publisher_" + std::to_string(::getpid()) + "_";
        const korabench::Report report = korabench::runLoad(load, [&](std::uint32_t index) {
            return std::make_unique<mqtt::MqttPublisher>(endpoint, idPrefix + std::to_string(index), topic,
                                                         payloadBytes);
        });
        std::cout << (load.isJson ? korabench::jsonOf(report) : korabench::textOf(report));
    }
    catch (const std::exception& error)
    {
        std::cerr << "bench_publisher: " << error.what() << std::endl;
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
