// What TimingSamples::record costs, off and on: by one thread, and by several at once. Prints; judges nothing.
#include "runtime/misc/TimingSamples.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

namespace
{

using com::tallowcrest::misc::TimingSamples;

double nanosecondsPerRecord(TimingSamples& samples, int threadCount, int recordCount)
{
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
    {
        threads.emplace_back([&samples, recordCount] {
            for (int count = 0; count < recordCount; ++count)
            {
                samples.record(static_cast<std::uint32_t>(count), 0x50);
            }
        });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
    return time.count() / recordCount;
}

} // namespace

int main()
{
    constexpr int recordCount = 5'000'000;
    constexpr std::array threadCounts{1, 2, 4};
    TimingSamples samples;
    for (const int threadCount : threadCounts)
    {
        std::printf("off, %d thread(s): %6.1f ns per record and thread\n", threadCount,
                    nanosecondsPerRecord(samples, threadCount, recordCount));
    }
    samples.start();
    for (const int threadCount : threadCounts)
    {
        std::printf("on,  %d thread(s): %6.1f ns per record and thread\n", threadCount,
                    nanosecondsPerRecord(samples, threadCount, recordCount));
    }
    return 0;
}
