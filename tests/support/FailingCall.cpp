#include "tests/support/FailingCall.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cerrno>
#include <cstddef>
#include <thread>

namespace testsupport
{

namespace
{

constexpr std::uint16_t loadWord = BPF_LD | BPF_W | BPF_ABS;
constexpr std::uint16_t skipUnlessEqual = BPF_JMP | BPF_JEQ | BPF_K;
constexpr std::uint16_t giveBack = BPF_RET | BPF_K;

/// Adds: when the word at `offset` is not `value`, skip the `rest` instructions that follow.
void addCondition(std::vector<sock_filter>& filter, std::size_t offset, std::uint32_t value, std::size_t rest)
{
    filter.push_back({loadWord, 0, 0, static_cast<std::uint32_t>(offset)});
    filter.push_back({skipUnlessEqual, 0, static_cast<std::uint8_t>(rest), value});
}

std::vector<sock_filter> filterOf(const std::vector<FailingCall>& calls)
{
    std::vector<sock_filter> filter;
    for (const FailingCall& call : calls)
    {
        std::size_t rest = 2 * call.arguments.size() + 1;
        addCondition(filter, offsetof(seccomp_data, nr), static_cast<std::uint32_t>(call.number), rest);
        for (const auto& [index, value] : call.arguments)
        {
            rest -= 2;
            // The lower half of the argument comes first on all processors that this is built for.
            addCondition(filter, offsetof(seccomp_data, args) + index * sizeof(std::uint64_t), value, rest);
        }
        filter.push_back({giveBack, 0, 0, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(call.error)});
    }
    filter.push_back({giveBack, 0, 0, SECCOMP_RET_ALLOW});
    return filter;
}

} // namespace

std::vector<FailingCall> failingPoll(int error)
{
    return {
#ifdef SYS_poll
        {SYS_poll, error},
#endif
#ifdef SYS_ppoll_time64
        {SYS_ppoll_time64, error},
#endif
        {SYS_ppoll, error}};
}

std::vector<FailingCall> failingRename(int error)
{
    return {
#ifdef SYS_rename
        {SYS_rename, error},
#endif
#ifdef SYS_renameat
        {SYS_renameat, error},
#endif
        {SYS_renameat2, error}};
}

std::vector<FailingCall> failingThreadStart()
{
    return {{SYS_clone, EAGAIN}, {SYS_clone3, EAGAIN}};
}

bool withFailingCalls(const std::vector<FailingCall>& calls, const std::function<void()>& body)
{
    std::vector<sock_filter> filter = filterOf(calls);
    bool isInForce = false;
    std::thread([&] {
        const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
        isInForce = ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
        if (isInForce)
        {
            body();
        }
    }).join();
    return isInForce;
}

} // namespace testsupport
