#pragma once

#include "koraclient/KoraClient.h"
#include "tests/chaos/World.h"
#include "tests/support/Places.h"

#include <cstdint>
#include <functional>
#include <string>
#include <thread>

namespace chaos
{

using testsupport::koraPort;
using testsupport::telnetPort;

/// A well-behaved controller: a thread and a connection, which the bridge must never end and on which each request must
/// get its own response. What goes wrong is a violation; then it connects again. Stopped and joined by its owner.
class Controller
{
public:
    virtual ~Controller() = default;
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    /// Runs until told to stop.
    void start();
    void stop();
    const std::string& name() const { return m_name; }

protected:
    /// `number` makes its tags its own, so that another controller's response would be noticed.
    Controller(World& world, std::string name, std::uint32_t number);

    /// What it does over and over on its connection.
    virtual void step(koraclient::KoraClient& client) = 0;
    /// A connection; waits for a free slot, at most for the bound's time.
    koraclient::KoraClient connect();

    World& world() { return m_world; }
    const Stopper& stopper() const { return m_stopper; }

private:
    void run();
    void runConnection();

    World& m_world;
    const std::string m_name;
    const std::uint32_t m_firstTag;
    Stopper m_stopper;
    std::thread m_thread;
};

} // namespace chaos
