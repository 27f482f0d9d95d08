#include "tests/chaos/Controller.h"

#include "koraclient/Errors.h"

#include <utility>

using namespace std::chrono_literals;

namespace chaos
{

namespace
{

/// Much longer than any bound: a request that takes so long is given up.
constexpr auto hopeless = 60s;
constexpr std::uint32_t tagsPerController = 1U << 27U;

} // namespace

Controller::Controller(World& world, std::string name, std::uint32_t number)
    : m_world(world), m_name(std::move(name)), m_firstTag(number * tagsPerController)
{}

void Controller::start()
{
    m_thread = std::thread([this] { run(); });
}

void Controller::stop()
{
    m_stopper.stop();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

koraclient::KoraClient Controller::connect()
{
    const auto begin = Clock::now();
    for (;;)
    {
        try
        {
            koraclient::KoraClient client("127.0.0.1", koraPort, hopeless);
            client.setNextTag(m_firstTag);
            m_world.answers.measure("(first answer)", [&] { return client.portPresent(); });
            if (const auto took = Clock::now() - begin;
                took - m_world.stalls.stalledBetween(begin, Clock::now()) > m_world.bounds.connect)
            {
                m_world.verdict.violation("controller", m_name + " was let in after " + milliseconds(took));
            }
            return client;
        }
        catch (const koraclient::KoraError&)
        {
            // All slots may be taken for a moment; a newcomer may be reset from the queue of the port that closes.
            if (Clock::now() - begin > hopeless || !m_stopper.pause(20ms))
            {
                throw;
            }
        }
    }
}

void Controller::run()
{
    while (!m_stopper.isStopped())
    {
        try
        {
            runConnection();
        }
        catch (const std::exception& error)
        {
            if (!m_stopper.isStopped())
            {
                m_world.verdict.violation("controller", m_name + ": " + error.what());
                m_stopper.pause(500ms);
            }
        }
    }
}

void Controller::runConnection()
{
    koraclient::KoraClient client = connect();
    while (!m_stopper.isStopped())
    {
        step(client);
    }
}

} // namespace chaos
