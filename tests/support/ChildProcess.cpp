#include "tests/support/ChildProcess.h"

#include "tests/support/Places.h"
#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace testsupport
{

namespace
{

int openOrThrow(const std::filesystem::path& path, int flags)
{
    const int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (fd < 0)
    {
        throw std::runtime_error("cannot open " + path.string());
    }
    return fd;
}

int exitStatus(int waitStatus)
{
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
}

} // namespace

ChildProcess::ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                           Options options)
{
    std::string pattern = (std::filesystem::temp_directory_path() / "korabridge-child-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
    {
        throw std::runtime_error("mkdtemp failed for " + pattern);
    }
    m_directory = pattern;
    const int out = openOrThrow(m_directory / "out", O_CREAT | O_WRONLY | O_APPEND);
    const int err = openOrThrow(m_directory / "err", O_CREAT | O_WRONLY | O_APPEND);
    int input[2] = {-1, -1};
    if (options.closeInput)
    {
        input[0] = openOrThrow("/dev/null", O_RDONLY);
    }
    else if (pipe2(input, O_CLOEXEC) != 0)
    {
        throw std::runtime_error("pipe failed");
    }

    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    words = runnable(std::move(words));
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (auto& word : words)
    {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);

    const pid_t test = ::getpid();
    m_pid = fork();
    if (m_pid < 0)
    {
        throw std::runtime_error("fork failed");
    }
    if (m_pid == 0)
    {
        // A test that is killed takes its programs with it.
        if (!options.outlivesThread && (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::getppid() != test))
        {
            _exit(127);
        }
        dup2(input[0], STDIN_FILENO);
        dup2(options.output >= 0 ? options.output : out, STDOUT_FILENO);
        dup2(options.output >= 0 ? options.output : err, STDERR_FILENO);
        for (const auto& [name, value] : options.environment)
        {
            setenv(name.c_str(), value.c_str(), 1); // NOLINT(concurrency-mt-unsafe): the only thread after fork
        }
        execvp(argv[0], argv.data());
        _exit(127);
    }
    ::close(out);
    ::close(err);
    ::close(input[0]);
    m_input = input[1];
}

ChildProcess::~ChildProcess()
{
    closeInput();
    if (isRunning())
    {
        signal(SIGKILL);
        waitForExit();
    }
    std::error_code ignored; // a leftover directory fails no test
    std::filesystem::remove_all(m_directory, ignored);
}

bool ChildProcess::isRunning()
{
    if (m_status)
    {
        return false;
    }
    int status = 0;
    if (waitpid(m_pid, &status, WNOHANG) == m_pid)
    {
        m_status = exitStatus(status);
    }
    return !m_status;
}

void ChildProcess::signal(int number) const
{
    if (!m_status)
    {
        kill(m_pid, number);
    }
}

void ChildProcess::write(const std::string& text) const
{
    std::size_t done = 0;
    while (done < text.size())
    {
        const auto count = ::write(m_input, text.data() + done, text.size() - done);
        if (count <= 0)
        {
            throw std::runtime_error("the program does not read its input");
        }
        done += static_cast<std::size_t>(count);
    }
}

void ChildProcess::closeInput()
{
    if (m_input >= 0)
    {
        ::close(m_input);
        m_input = -1;
    }
}

std::optional<int> ChildProcess::waitForExit(std::chrono::milliseconds deadline)
{
    waitUntil([this] { return !isRunning(); }, deadline);
    return m_status;
}

std::string ChildProcess::output() const
{
    return readFile(m_directory / "out");
}

std::string ChildProcess::errors() const
{
    return readFile(m_directory / "err");
}

bool ChildProcess::waitForOutput(const std::string& text, std::chrono::milliseconds deadline) const
{
    return waitUntil([&] { return output().find(text) != std::string::npos; }, deadline);
}

bool ChildProcess::waitForErrors(const std::string& text, std::chrono::milliseconds deadline) const
{
    return waitUntil([&] { return errors().find(text) != std::string::npos; }, deadline);
}

std::filesystem::path programPath(const std::string& name)
{
    return buildFolder() / "bin" / name;
}

std::vector<std::string> runnable(std::vector<std::string> words)
{
    const char* const emulator = std::getenv("KORABRIDGE_EMULATOR"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    if (emulator != nullptr)
    {
        const auto program = std::find_if(words.begin(), words.end(), [](const std::string& word) {
            return word.starts_with(buildFolder().string() + "/");
        });
        if (program != words.end())
        {
            std::istringstream prefix(emulator);
            words.insert(program, std::istream_iterator<std::string>(prefix), std::istream_iterator<std::string>());
        }
    }
    return words;
}

} // namespace testsupport
