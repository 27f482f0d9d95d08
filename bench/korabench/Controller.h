#pragma once

#include "bench/korabench/Client.h"
#include "bench/korabench/Request.h"
#include "bench/korabench/ResponseCheck.h"
#include "koracommand/WireLayout.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace korabench
{

/// A router controller: sends the requests in turn and checks each response. Besides what a `Client` throws,
/// std::runtime_error with what was wrong when the bridge answers wrongly.
class Controller final : public Client
{
public:
    /// Connects. Throws NotConnected.
    Controller(const Endpoint& endpoint, std::vector<Request> requests);

    void send() override;
    bool receive() override;
    Command lastCommand() const override { return lastRequest().command; }
    std::uint32_t lastEntries() const override;
    std::uint64_t changesSeen() const override { return m_changesSeen; }

    /// Sends the first request and waits for its answer, to know that the connection is served. Throws NotConnected.
    void probe();
    /// Polls all requests for changes among the requests until each had an answer without any.
    void drainChanges();

private:
    const Request& lastRequest() const { return m_requests[m_last]; }
    void exchange(std::size_t index);
    void send(std::size_t index);
    void check();
    std::string described(const std::string& what) const override;

    std::vector<Request> m_requests;
    std::size_t m_next = 0;
    std::size_t m_last = 0;
    std::uint32_t m_tag;
    std::size_t m_held = 0;
    std::array<std::uint8_t, wireLayout::maxMessageBytes> m_buffer{};
    ChangesCount m_lastChanges;
    std::uint64_t m_changesSeen = 0;
};

} // namespace korabench
