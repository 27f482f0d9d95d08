#include "tests/support/HttpClient.h"

#include "tests/support/TimeFactor.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace testsupport
{
namespace
{

TcpSocket connected(std::uint16_t port)
{
    auto socket = TcpSocket::connect(port);
    if (!socket)
    {
        throw std::runtime_error("nobody listens on port " + std::to_string(port));
    }
    return std::move(*socket);
}

} // namespace

std::string httpText(std::uint16_t port, const std::string& method, const std::string& path, const HttpHeaders& headers,
                     const std::string& body)
{
    HttpHeaders all = headers;
    all.emplace("Host", "127.0.0.1:" + std::to_string(port));
    if (!body.empty())
    {
        all.emplace("Content-Length", std::to_string(body.size()));
    }
    std::string text = method + " " + path + " HTTP/1.1\r\n";
    for (const auto& [name, value] : all)
    {
        text.append(name).append(": ").append(value).append("\r\n");
    }
    return text + "\r\n" + body;
}

HttpAnswer httpRequest(std::uint16_t port, const std::string& method, const std::string& path,
                       const HttpHeaders& headers, const std::string& body)
{
    const TcpSocket socket = connected(port);
    HttpHeaders all = headers;
    all["Connection"] = "close";
    socket.send(httpText(port, method, path, all, body));
    constexpr std::size_t most = 16UL * 1024 * 1024;
    const std::string text = socket.receive(most, std::chrono::seconds(20));
    HttpAnswer answer;
    const std::size_t end = text.find("\r\n\r\n");
    if (end == std::string::npos)
    {
        return answer;
    }
    std::istringstream lines(text.substr(0, end));
    std::string line;
    std::getline(lines, line);
    answer.status = std::stoi(line.substr(line.find(' ') + 1));
    while (std::getline(lines, line))
    {
        const std::size_t colon = line.find(": ");
        std::string name = line.substr(0, colon);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        std::string value = colon == std::string::npos ? "" : line.substr(colon + 2);
        value.erase(value.find_last_not_of('\r') + 1);
        answer.headers[name] = value;
    }
    answer.body = text.substr(end + 4);
    return answer;
}

HttpAnswer httpPost(std::uint16_t port, const std::string& path, const std::string& body, HttpHeaders headers)
{
    headers.emplace("Content-Type", "application/json");
    return httpRequest(port, "POST", path, headers, body);
}

EventStream::EventStream(std::uint16_t port, const HttpHeaders& headers, const std::string& path)
    : m_socket(connected(port))
{
    m_socket.send(httpText(port, "GET", path, headers, ""));
}

bool EventStream::waitFor(const std::string& text, std::chrono::milliseconds deadline)
{
    const auto end = std::chrono::steady_clock::now() + scaled(deadline);
    while (m_text.find(text) == std::string::npos)
    {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        const std::string more =
            left.count() > 0 ? m_socket.receiveUntil("\n", std::max(left / timeFactor(), decltype(left)(1))) : "";
        if (more.empty())
        {
            return false;
        }
        m_raw += more;
        decode();
    }
    return true;
}

void EventStream::decode()
{
    static const std::string lineEnd = "\r\n";
    if (!m_isBody)
    {
        const std::size_t end = m_raw.find("\r\n\r\n");
        if (end == std::string::npos)
        {
            return;
        }
        m_isBody = m_raw.find("Transfer-Encoding: chunked") < end;
        m_raw.erase(0, m_isBody ? end + 4 : 0);
    }
    if (!m_isBody)
    {
        m_text += std::exchange(m_raw, "");
        return;
    }
    for (std::size_t end = m_raw.find(lineEnd); end != std::string::npos; end = m_raw.find(lineEnd))
    {
        const std::size_t size = std::stoul(m_raw.substr(0, end), nullptr, 16);
        const std::size_t begin = end + lineEnd.size();
        if (m_raw.size() < begin + size + lineEnd.size())
        {
            return;
        }
        m_text += m_raw.substr(begin, size);
        m_raw.erase(0, begin + size + lineEnd.size());
    }
}

bool EventStream::waitForEnd(std::chrono::milliseconds deadline) const
{
    return m_socket.waitForClose(deadline);
}

} // namespace testsupport
