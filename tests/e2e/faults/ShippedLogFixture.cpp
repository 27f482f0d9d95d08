#include "tests/e2e/faults/ShippedLogFixture.h"

#include "tests/support/Places.h"

namespace e2e
{

using namespace std::chrono_literals;

namespace
{

/// $1 a directory for scratch, $2 the size of the disk, $3 the shipped log configuration; the rest is the command.
constexpr const char* mountsScript =
    "set -e; scratch=$1 size=$2 configuration=$3; shift 3\n"
    "mkdir \"$scratch/etc\" \"$scratch/log\"\n"
    "mount -t tmpfs tmpfs \"$scratch/etc\"\n"
    "mkdir -p \"$scratch/etc/upper/tc/log\" \"$scratch/etc/work\"\n"
    "cp \"$configuration\" \"$scratch/etc/upper/tc/log\"\n"
    "mount -t overlay -o \"lowerdir=/etc,upperdir=$scratch/etc/upper,workdir=$scratch/etc/work\" overlay /etc\n"
    "mount -t tmpfs -o \"size=$size\" tmpfs \"$scratch/log\"\n"
    "mount --bind \"$scratch/log\" /var/log\n"
    "exec \"$@\"";

} // namespace

std::filesystem::path shippedLogConfiguration()
{
    return testsupport::sourceFolder() / "config/korabridge-log.xml";
}

void ShippedLogFixture::SetUp()
{
    const auto scratch = m_directory.path() / "probe";
    std::filesystem::create_directory(scratch);
    testsupport::ChildProcess probe("/usr/bin/unshare", {"--mount", "sh", "-c", mountsScript, "sh", scratch.string(),
                                                         "1m", shippedLogConfiguration(), "true"});
    if (probe.waitForExit() != 0)
    {
        GTEST_SKIP() << "needs a mount namespace: " << probe.errors();
    }
}

void ShippedLogFixture::startWithShippedLog(const std::string& diskSize, const std::filesystem::path& configuration,
                                            const std::string& name)
{
    m_bridge = std::make_unique<testsupport::ChildProcess>(
        "/usr/bin/unshare",
        std::vector<std::string>{"--mount", "sh", "-c", mountsScript, "sh", m_directory.path().string(), diskSize,
                                 configuration, testsupport::programPath("korabridge").string(), "17", "3", name,
                                 "bridge under test"});
    router().announce();
    ASSERT_TRUE(testsupport::waitForPort(koraPort, 30s)) << bridge().errors();
}

std::filesystem::path ShippedLogFixture::logDirectory()
{
    return "/proc/" + std::to_string(bridge().pid()) + "/root/var/log";
}

std::string ShippedLogFixture::logText()
{
    return testsupport::readFile(logDirectory() / "korabridge" / "korabridge.log");
}

bool ShippedLogFixture::waitForLog(const std::string& text)
{
    return testsupport::waitUntil([&] { return logText().find(text) != std::string::npos; });
}

} // namespace e2e
