// Holds one thread of a process, as a debugger does, until the process ends. Usage: hold-thread PID NAME
#include <sys/ptrace.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

int main(int argc, char* argv[])
{
    if (argc != 3)
    {
        std::fputs("usage: hold-thread PID NAME\n", stderr);
        return 2;
    }
    const std::string tasks = std::string("/proc/") + argv[1] + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks))
    {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        if (name != argv[2])
        {
            continue;
        }
        const pid_t thread = std::stoi(task.path().filename().string());
        if (::ptrace(PTRACE_SEIZE, thread, nullptr, nullptr) != 0 ||
            ::ptrace(PTRACE_INTERRUPT, thread, nullptr, nullptr) != 0)
        {
            std::perror("hold-thread");
            return 1;
        }
        // Whatever it stops for, it is not let go.
        int status = 0;
        while (::waitpid(thread, &status, __WALL) == thread && !WIFEXITED(status) && !WIFSIGNALED(status))
        {}
        return 0;
    }
    std::fprintf(stderr, "hold-thread: process %s has no thread %s\n", argv[1], argv[2]);
    return 1;
}
