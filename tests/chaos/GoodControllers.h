#pragma once

#include "tests/chaos/Controller.h"
#include "tests/chaos/Dice.h"

#include <optional>
#include <string>
#include <vector>

namespace chaos
{

/// Takes on outputs of its own, one or several with a request.
class Taker final : public Controller
{
public:
    /// `share` (from 0 on) says which outputs are its own.
    Taker(World& world, std::uint32_t number, std::uint32_t share, std::uint32_t mostEntries, std::uint64_t seed);

protected:
    void step(koraclient::KoraClient& client) override;

private:
    const std::uint32_t m_share;
    const std::uint32_t m_mostEntries;
    Dice m_dice;
};

/// Locks, protects and releases outputs of its own.
class Locker final : public Controller
{
public:
    Locker(World& world, std::uint32_t number, std::uint32_t share, std::uint64_t seed);

protected:
    void step(koraclient::KoraClient& client) override;

private:
    const std::uint32_t m_share;
    Dice m_dice;
};

/// Polls both levels for changes.
class Poller final : public Controller
{
public:
    Poller(World& world, std::uint32_t number, ChangeLedger::Detail detail);

protected:
    void step(koraclient::KoraClient& client) override;

private:
    void walk(koraclient::KoraClient& client, Signal signal);

    const ChangeLedger::Detail m_detail;
    const std::size_t m_ledgerNumber;
    std::optional<Crosspoint> m_overlooked; ///< by sabotage
};

/// Asks all the other questions, one by one and many at a time.
class Asker final : public Controller
{
public:
    Asker(World& world, std::uint32_t number, std::uint64_t seed);

protected:
    void step(koraclient::KoraClient& client) override;

private:
    void ask(koraclient::KoraClient& client);
    /// Several requests at once, whose responses must come in their order.
    void askManyAtOnce(koraclient::KoraClient& client);

    Dice m_dice;
};

/// Connects, must be shown every output, asks a little and leaves again.
class Visitor final : public Controller
{
public:
    Visitor(World& world, std::uint32_t number) : Controller(world, "visitor", number) {}
    std::size_t visits() const { return m_visits; }

protected:
    void step(koraclient::KoraClient& client) override;

private:
    void expectEveryOutput(koraclient::KoraClient& client, Signal signal);

    std::size_t m_visits = 0;
};

} // namespace chaos
