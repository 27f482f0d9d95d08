#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace testsupport
{

/// Encoded bytes as a `TcpSocket` sends them.
inline std::string asText(const std::vector<std::uint8_t>& bytes)
{
    return {bytes.begin(), bytes.end()};
}

/// A plain TCP client on 127.0.0.1 for tests that send what no client library would. Deadlines are scaled to the
/// machine.
class TcpSocket
{
public:
    /// Connects; nothing when the port refuses.
    static std::optional<TcpSocket> connect(std::uint16_t port);
    ~TcpSocket();
    TcpSocket(TcpSocket&& other) noexcept;
    TcpSocket& operator=(TcpSocket&& other) noexcept;
    TcpSocket(const TcpSocket&) = delete;
    TcpSocket& operator=(const TcpSocket&) = delete;

    int fd() const { return m_fd; }
    /// Sends everything or throws.
    void send(const std::string& bytes) const;
    /// What has arrived within the time, at most `size` bytes; empty at end of stream, reset or deadline.
    std::string receive(std::size_t size, std::chrono::milliseconds deadline = std::chrono::seconds(5)) const;
    /// Reads until the text so far ends with or holds `text`; returns all that was read.
    std::string receiveUntil(const std::string& text,
                             std::chrono::milliseconds deadline = std::chrono::seconds(5)) const;
    /// True when the peer closed or reset the connection within the time.
    bool waitForClose(std::chrono::milliseconds deadline = std::chrono::seconds(5)) const;
    /// Closes with a reset instead of an orderly end.
    void reset();
    void close();

private:
    explicit TcpSocket(int fd) : m_fd(fd) {}
    int m_fd = -1;
};

/// True once something listens on the port.
bool waitForPort(std::uint16_t port, std::chrono::milliseconds deadline = std::chrono::seconds(15));
/// True once nothing listens on the port.
bool waitForClosedPort(std::uint16_t port, std::chrono::milliseconds deadline = std::chrono::seconds(15));
/// Looks in the kernel's table, so that the listener never sees a connection.
bool isListening(std::uint16_t port);

} // namespace testsupport
