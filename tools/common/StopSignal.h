#pragma once

#include "koraclient/Watch.h"
#include "runtime/util/UniqueFd.h"

#include <csignal>

namespace koractl
{

/// The end is wanted once SIGINT (Ctrl-C) or SIGTERM came. Takes these signals from the thread that makes it, which
/// must also destroy it; the former signal mask comes back then. Throws std::system_error when the system refuses.
class StopSignal : public koraclient::StopCondition
{
public:
    StopSignal();
    ~StopSignal() override;

    bool waitFor(std::chrono::milliseconds time) override;

    /// Readable once a signal came; for those who wait for other things too.
    int descriptor() const { return m_fd.get(); }

private:
    sigset_t m_formerMask{};
    com::tallowcrest::util::UniqueFd m_fd;
    bool m_isStopped = false;
};

} // namespace koractl
