// What the keeping of targets costs the thread that writes them: the median time of one write of a target, with the
// store on a normal disk, on a disk made slow and without a store, and of a write that nobody keeps. One run, the cases
// in turns, so that all of them see the same machine. Run by hand from an optimised build, in a namespace of its own:
//     tests/support/in-namespace build/release/bin/bench_target_write

#include "buswrappers/DurableTopic.h"
#include "dds/dds.hpp"
#include "durability/Recorder.h"
#include "tests/support/TempDir.h"
#include "tests/unit/durability/OutputCodec.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds slowWrite{5};
constexpr std::chrono::milliseconds slowSync{300};
std::atomic<bool> g_isSlow{false};
std::atomic<unsigned> g_slowed{0};

void slowDown(std::chrono::milliseconds time)
{
    if (g_isSlow)
    {
        ++g_slowed;
        std::this_thread::sleep_for(time);
    }
}

} // namespace

// Stand before the C library's, for SQLite too: this is the slow disk.
extern "C" ssize_t pwrite64(int fd, const void* data, std::size_t size, off64_t offset)
{
    slowDown(slowWrite);
    return ::syscall(SYS_pwrite64, fd, data, size, offset);
}
extern "C" int fsync(int fd)
{
    slowDown(slowSync);
    return static_cast<int>(::syscall(SYS_fsync, fd));
}
extern "C" int fdatasync(int fd)
{
    slowDown(slowSync);
    return static_cast<int>(::syscall(SYS_fdatasync, fd));
}

namespace
{

namespace durability = com::tallowcrest::durability;

/// A bridge's writer of targets and a router that reads them, in a partition of their own.
class TakePath
{
public:
    TakePath(const char* name, const std::filesystem::path& store, bool isKept, bool isSlow)
        : m_name(name), m_isSlow(isSlow)
    {
        dds::topic::qos::TopicQos qos;
        qos << dds::core::policy::Durability(isKept ? dds::core::policy::DurabilityKind::PERSISTENT
                                                    : dds::core::policy::DurabilityKind::TRANSIENT_LOCAL)
            << dds::core::policy::Reliability::Reliable();
        const dds::topic::Topic<Output> topic(m_participant, std::string("Topic") + (isKept ? "Kept" : "Plain"), qos);
        dds::pub::qos::PublisherQos publisher;
        publisher << dds::core::policy::Partition(name);
        m_writer = {dds::pub::Publisher(m_participant, publisher), topic, dds::pub::qos::DataWriterQos(topic.qos())};
        dds::sub::qos::SubscriberQos subscriber;
        subscriber << dds::core::policy::Partition(name);
        m_reader = {dds::sub::Subscriber(m_participant, subscriber), topic, dds::sub::qos::DataReaderQos(topic.qos())};
        if (isKept)
        {
            m_recorder = std::make_unique<durability::Recorder>(m_participant, store);
            m_channel = m_recorder->channel({.name = {name, "TopicKept"}, .greatest = outputs, .isShared = false},
                                            com::tallowcrest::routing::durableCodec<Output>());
            m_channel->join(std::make_shared<com::tallowcrest::routing::DurableTopic<Output>>(m_writer, dds::core::null,
                                                                                              dds::core::null),
                            [](const durability::Channel::Delivery&) {});
        }
    }

    void measure(std::size_t count, std::chrono::microseconds pause, std::vector<std::int64_t>& times)
    {
        g_isSlow = m_isSlow;
        for (std::size_t i = 0; i < count; ++i)
        {
            m_next = m_next % outputs + 1;
            const Output sample = output(m_next, ++m_input);
            const auto begin = Clock::now();
            write(sample);
            times.push_back(std::chrono::nanoseconds(Clock::now() - begin).count());
            if (pause.count() > 0)
            {
                std::this_thread::sleep_for(pause);
            }
        }
        m_reader.take();
        // What the slow disk has to do belongs to this case.
        std::this_thread::sleep_for(std::chrono::milliseconds(m_isSlow ? 400 : 50));
        g_isSlow = false;
    }

    const char* const m_name;
    std::vector<std::int64_t> m_burst;
    std::vector<std::int64_t> m_sparse;

private:
    static constexpr std::uint32_t outputs = 2304;

    /// As a bridge decides.
    void write(const Output& sample)
    {
        if (!m_channel)
        {
            m_writer.write(sample);
            return;
        }
        const durability::SourceTime written = m_channel->clock().next(durability::fromBusTime(dds_time()));
        m_writer.write(sample, dds::core::Time(durability::toBusTime(written)));
        m_channel->handOver(&sample, written, false);
    }

    const bool m_isSlow;
    std::uint32_t m_next = 0;
    std::uint32_t m_input = 0;
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    dds::pub::DataWriter<Output> m_writer{dds::core::null};
    dds::sub::DataReader<Output> m_reader{dds::core::null};
    std::unique_ptr<durability::Recorder> m_recorder;
    std::shared_ptr<durability::Channel> m_channel; ///< null where nothing is kept
};

double median(std::vector<std::int64_t> times)
{
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return static_cast<double>(*middle) / 1000.0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::size_t rounds = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 20;
    const testsupport::TempDir directory;
    testsupport::writeFile(directory.path() / "file", "in the way");
    std::vector<std::unique_ptr<TakePath>> cases;
    cases.push_back(std::make_unique<TakePath>("no store", directory.path() / "file" / "x.db", true, false));
    cases.push_back(std::make_unique<TakePath>("normal disk", directory.path() / "normal.db", true, false));
    cases.push_back(std::make_unique<TakePath>("slow disk", directory.path() / "slow.db", true, true));
    cases.push_back(std::make_unique<TakePath>("nothing kept", "", false, false));

    std::vector<std::int64_t> warmUp;
    for (const auto& each : cases)
    {
        each->measure(5000, std::chrono::microseconds(0), warmUp);
    }
    std::vector<TakePath*> order;
    for (const auto& each : cases)
    {
        order.push_back(each.get());
    }
    for (std::size_t round = 0; round < rounds; ++round)
    {
        std::rotate(order.begin(), order.begin() + 1, order.end());
        for (TakePath* const each : order)
        {
            each->measure(2000, std::chrono::microseconds(0), each->m_burst);
            each->measure(100, std::chrono::microseconds(1000), each->m_sparse);
        }
    }
    std::printf("median of one write in microseconds, and its ratio to \"no store\" (%zu rounds)\n", rounds);
    std::printf("%-14s %10s %7s %14s %7s\n", "", "in bursts", "ratio", "one a ms", "ratio");
    for (const auto& each : cases)
    {
        std::printf("%-14s %10.2f %7.2f %14.2f %7.2f\n", each->m_name, median(each->m_burst),
                    median(each->m_burst) / median(cases[0]->m_burst), median(each->m_sparse),
                    median(each->m_sparse) / median(cases[0]->m_sparse));
    }
    std::printf("the slow disk held up %u calls\n", g_slowed.load());
    return EXIT_SUCCESS;
}
