// What is promised of an apartment within a time: an idle one looks at its running flag only every ten seconds.
#include "runtime/apartment/Apartment.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TimeFactor.h"
#include "tests/unit/runtime/apartment/RecordingEvent.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>

namespace
{

using com::tallowcrest::apartment::Apartment;
using namespace std::chrono_literals;
using testsupport::scaled;

class ApartmentTimeTest : public testing::Test
{
protected:
    /// Starts it and waits until it has run an event, so that it waits for the next.
    ApartmentTimeTest()
    {
        std::promise<void> reached;
        m_sut->start();
        post(*m_sut, std::make_unique<RecordingEvent>(0, m_ran, m_deleted, [&reached] { reached.set_value(); }));
        reached.get_future().wait();
    }

    EventRecord m_ran;
    EventRecord m_deleted;
    std::optional<Apartment> m_sut{std::in_place, "sut"};
    testsupport::StallMeter m_stalls;
};

TEST_F(ApartmentTimeTest, stopOfAnIdleApartmentIsPrompt)
{
    EXPECT_LT(m_stalls.workedDuring([this] { m_sut->stop(); }), scaled(2s));
    EXPECT_FALSE(m_sut->isRunning());
}

TEST_F(ApartmentTimeTest, theDestructorStopsARunningApartmentPromptly)
{
    EXPECT_LT(m_stalls.workedDuring([this] { m_sut.reset(); }), scaled(2s));
}

} // namespace
