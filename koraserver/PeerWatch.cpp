#include "koraserver/PeerWatch.h"

#include <netinet/tcp.h>
#include <sys/socket.h>

std::optional<PeerSigns> peerSigns(int socket)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    if (::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0)
    {
        return std::nullopt;
    }
    return PeerSigns{info.tcpi_retransmits > 0 || info.tcpi_probes > 0,
                     std::chrono::milliseconds(info.tcpi_last_ack_recv)};
}

bool PeerWatch::hasVanished(const PeerSigns& signs, Clock::time_point now)
{
    if (!signs.isAskedInVain)
    {
        m_askedSince.reset();
        return false;
    }
    if (!m_askedSince)
    {
        m_askedSince = now;
    }
    return now - *m_askedSince >= patience && signs.sinceConfirmation >= patience;
}

bool SlotPressure::isHigh(bool isFull, Clock::time_point now)
{
    if (isFull)
    {
        m_lastFull = now;
    }
    else if (m_lastFull && now - *m_lastFull >= calm)
    {
        m_lastFull.reset();
    }
    return m_lastFull.has_value();
}
