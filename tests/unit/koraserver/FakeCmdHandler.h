#pragma once

#include "koracommand/CmdHandler.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "runtime/misc/Console.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

/// A response in network order that is plain bytes.
class FakeRsp final : public Rsp
{
public:
    /// Answers a request the way the system does: id with bit 31 set, the request's tag at 16, `length` bytes.
    FakeRsp(std::span<const std::uint8_t> request, std::uint32_t length) : m_bytes(length)
    {
        const WireReader reader(request);
        const WireWriter writer(m_bytes);
        writer.setBigEndianWordAt(wireLayout::header::protocolType, wireLayout::routerControlProtocol);
        writer.setBigEndianWordAt(wireLayout::header::length, length);
        writer.setBigEndianWordAt(wireLayout::header::msgId,
                                  reader.bigEndianWordAt(wireLayout::header::msgId) | 0x80000000U);
        writer.setBigEndianWordAt(wireLayout::rsp::tag, reader.bigEndianWordAt(wireLayout::header::sequence));
    }

    void setSequence(std::uint32_t sequence) override
    {
        WireWriter(m_bytes).setBigEndianWordAt(wireLayout::header::sequence, sequence);
    }
    const std::uint8_t* getData() const override { return m_bytes.data(); }
    std::uint32_t getLength() const override { return static_cast<std::uint32_t>(m_bytes.size()); }

private:
    std::vector<std::uint8_t> m_bytes;
};

/// What all handlers of a test share: the answer to give and what was asked so far. Thread-safe.
struct FakeCommands
{
    using Answer = std::function<std::unique_ptr<Rsp>(std::span<const std::uint8_t>)>;

    /// Set before the first request.
    Answer answer = [](std::span<const std::uint8_t> request) { return std::make_unique<FakeRsp>(request, 20); };

    std::vector<std::string> requests() const
    {
        const std::lock_guard lock(mutex);
        return received;
    }

    mutable std::mutex mutex;
    std::vector<std::string> received;
    std::vector<std::uint32_t> connectionIds;
};

class FakeCmdHandler final : public CmdHandler
{
public:
    explicit FakeCmdHandler(FakeCommands& commands) : m_commands(commands) {}

    std::unique_ptr<Rsp> handle(std::span<const std::uint8_t> message) override
    {
        {
            const std::lock_guard lock(m_commands.mutex);
            m_commands.received.emplace_back(message.begin(), message.end());
        }
        return m_commands.answer(message);
    }
    void show() override { com::tallowcrest::misc::print("the handler's commands\n"); }

private:
    FakeCommands& m_commands;
};

class FakeCmdHandlerFactory final : public CmdHandlerFactory
{
public:
    explicit FakeCmdHandlerFactory(FakeCommands& commands) : m_commands(commands) {}

    std::unique_ptr<CmdHandler> createCmdHandler(std::uint32_t connectionId) override
    {
        const std::lock_guard lock(m_commands.mutex);
        m_commands.connectionIds.push_back(connectionId);
        return std::make_unique<FakeCmdHandler>(m_commands);
    }

private:
    FakeCommands& m_commands;
};
