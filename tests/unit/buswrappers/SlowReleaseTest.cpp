#include "buswrappers/SlowRelease.h"

#include "tests/support/FailingCall.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>

using com::tallowcrest::routing::SlowRelease;

namespace
{

/// Its end takes until it is let go.
struct Slow
{
    explicit Slow(std::future<void> isLetGo, std::atomic<int>& gone) : m_isLetGo(std::move(isLetGo)), m_gone(gone) {}
    ~Slow()
    {
        m_isLetGo.wait();
        ++m_gone;
    }
    Slow(const Slow&) = delete;
    Slow& operator=(const Slow&) = delete;

    std::future<void> m_isLetGo;
    std::atomic<int>& m_gone;
};

} // namespace

TEST(SlowReleaseTest, CallerDoesNotWaitButTheEndDoes)
{
    std::atomic<int> gone{0};
    std::promise<void> letGo;
    {
        SlowRelease sut;
        sut.release(std::make_shared<Slow>(letGo.get_future(), gone));
        EXPECT_EQ(gone, 0);
        letGo.set_value();
    }
    EXPECT_EQ(gone, 1);
}

TEST(SlowReleaseTest, OneThatTakesLongHoldsUpNoOther)
{
    std::atomic<int> gone{0};
    std::promise<void> first;
    std::promise<void> second;
    SlowRelease sut;
    sut.release(std::make_shared<Slow>(first.get_future(), gone));
    sut.release(std::make_shared<Slow>(second.get_future(), gone));

    second.set_value();

    while (gone == 0) // the test's own deadline ends this when it fails
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(gone, 1);
    first.set_value();
}

TEST(SlowReleaseTest, WithoutAThreadTheObjectGoesAtOnce)
{
    std::atomic<int> gone{0};
    std::promise<void> letGo;
    letGo.set_value();
    SlowRelease sut;
    int goneAtOnce = 0;

    const bool isTried = testsupport::withFailingCalls(testsupport::failingThreadStart(), [&] {
        sut.release(std::make_shared<Slow>(letGo.get_future(), gone));
        goneAtOnce = gone;
    });

    if (!isTried)
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    EXPECT_EQ(goneAtOnce, 1);
}
