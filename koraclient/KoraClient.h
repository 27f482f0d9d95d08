#pragma once

#include "koraclient/ClientSocket.h"
#include "koraclient/Decoded.h"
#include "koraclient/KoraTypes.h"
#include "koraclient/Message.h"
#include "koraclient/ResponseDecoder.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace koraclient
{

/// A controller's end of one connection to the bridge: one call per command, one response per call. Every response is
/// checked against its request (protocol type, sequence, id, echoed tag, count, length) before a value is returned.
/// Owned by one thread.
///
/// A call ends within the timeout, by throwing if need be: `TimeoutError`, `PeerClosed`, `ProtocolError` when something
/// else came than was asked for, `ErrorResponse` when the bridge does not know the command, `Interrupted`. After any
/// but `ErrorResponse` the stream may be out of step and the client should be thrown away. Nothing is sent again by
/// itself: of a take that was not answered nobody knows whether it was done.
///
/// Levels, inputs and outputs are numbered as the bridge does (video is level 1, audio level 2, both count from 1);
/// a refusal is no exception but a result code, see `ResultText.h`.
class KoraClient
{
public:
    static constexpr std::uint16_t defaultPort = 5194;
    static constexpr std::chrono::milliseconds defaultTimeout{2000};

    /// Connects within `timeout`, which is also how long each later request may take until its response is whole.
    /// `host` is a name or a numeric address. Another thread may end every wait, now and later, by signalling
    /// `interrupt`, which outlives the client. Throws ConnectError, Interrupted.
    explicit KoraClient(const std::string& host, std::uint16_t port = defaultPort,
                        std::chrono::milliseconds timeout = defaultTimeout,
                        const com::tallowcrest::util::WakeEvent* interrupt = nullptr);

    static KoraClient connect(const std::string& host = "127.0.0.1", std::uint16_t port = defaultPort,
                              std::chrono::milliseconds timeout = defaultTimeout)
    {
        return KoraClient(host, port, timeout);
    }

    /// One result code (0: done) an entry, in request order; a refused entry does not stop those behind it. Up to 510
    /// entries fit in a message; more throw std::length_error and nothing is sent (`sendInParts` takes more).
    std::vector<std::uint32_t> take(const std::vector<TakeEntry>& entries);
    std::vector<std::uint32_t> coherentTake(const std::vector<TakeEntry>& entries);
    LprResult setOutputLpr(const std::vector<LprEntry>& entries);

    /// Outputs `first` to `first` + `count` - 1 of a level. One answer holds up to 1020; those asked for beyond are
    /// left out of it.
    Tally tally(std::uint32_t level, std::uint32_t first, std::uint32_t count);
    /// Format 1 is the short one (result and input, up to 1019 in an answer); any other carries the lock state and its
    /// holder too (up to 509).
    OutputStatusBlock outputStatus(std::uint32_t format, std::uint32_t level, std::uint32_t first, std::uint32_t count);
    /// The outputs of a level that changed since this connection last asked; at first all of them. Up to 679 in format
    /// 1, up to 64 in any other, which carries the lock state too; `more` says to ask again. A level that does not
    /// exist has no changes.
    OutputChanges outputChanges(std::uint32_t format, std::uint32_t level);

    PartitionInfo partitionInfo();
    /// The word that the bridge answers; 0 today.
    std::uint32_t portPresent();
    /// Formats 0, 2, 4 and 6; any other is answered as 4.
    SystemStatus systemStatus(std::uint32_t format);
    CardPresence cardPresence(std::uint32_t word);

    /// Sends a request with any message id and payload words under the next tag and returns the message that came back,
    /// checked only for protocol type, sequence and echoed tag. Up to 2044 words; more throw std::length_error.
    Message request(std::uint32_t id, const std::vector<std::uint32_t>& payload);

    /// Sends the bytes as they are. For peers that misbehave on purpose.
    void sendBytes(std::span<const std::uint8_t> bytes);
    /// The next message, checked only for its length word. Later requests expect the sequence after this message's.
    Message receiveMessage();
    /// Waits until the bridge closes the connection; what it still sends is dropped. TimeoutError when it does not.
    void waitForClose();

    /// From now on `observer` is told how long each request took until its response was there; empty: nobody is.
    void observeTimes(std::function<void(std::chrono::nanoseconds)> observer) { m_observer = std::move(observer); }

    /// The sequence that the next response must carry.
    std::uint32_t expectedSequence() const { return m_expectedSequence; }
    /// The tag that the next request will carry; settable for tests.
    std::uint32_t nextTag() const { return m_nextTag; }
    void setNextTag(std::uint32_t tag) { m_nextTag = tag; }

private:
    using Clock = std::chrono::steady_clock;

    Message exchange(const std::vector<std::uint8_t>& bytes);
    Message receiveUntil(Clock::time_point deadline);
    /// Sends `bytes`, receives and decodes through `decode(ResponseDecoder&)`; faults become exceptions.
    template <class Decode>
    auto call(const std::vector<std::uint8_t>& bytes, std::uint32_t responseId, Decode decode);

    std::chrono::milliseconds m_timeout;
    ClientSocket m_socket;
    MessageCutter m_cutter;
    std::function<void(std::chrono::nanoseconds)> m_observer;
    std::uint32_t m_nextTag = 1;
    std::uint32_t m_expectedSequence = 0;
};

} // namespace koraclient
