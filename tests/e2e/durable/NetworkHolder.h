#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/WaitUntil.h"

#include <unistd.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace e2e
{

/// Names the network namespace of a process; empty when there is none.
inline std::string networkOf(pid_t process)
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/ns/net", error);
}

/// A process in a new network namespace, which lives as long as the process.
inline std::unique_ptr<testsupport::ChildProcess> holdNetwork()
{
    auto holder = std::make_unique<testsupport::ChildProcess>(
        "/usr/bin/env", std::vector<std::string>{"unshare", "--net", "sleep", "3600"});
    const pid_t pid = holder->pid();
    if (!testsupport::waitUntil([pid] {
            const std::string there = networkOf(pid);
            return !there.empty() && there != networkOf(::getpid());
        }))
    {
        throw std::runtime_error("no other network namespace: " + holder->errors());
    }
    return holder;
}

} // namespace e2e
