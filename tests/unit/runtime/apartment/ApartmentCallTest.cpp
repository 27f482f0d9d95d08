#include "runtime/apartment/ApartmentCall.h"

#include "runtime/apartment/Apartment.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>

using namespace com::tallowcrest::apartment;
using namespace std::chrono_literals;

namespace
{

TEST(ApartmentCall, WorkThatThrowsGivesNoResultAndTheApartmentGoesOn)
{
    Apartment apartment("test");
    apartment.start();

    const auto failed = callOnApartment(
        apartment, std::function<int()>([]() -> int { throw std::runtime_error("expected by the test"); }), 10s);
    const auto result = callOnApartment(apartment, std::function<int()>([] { return 7; }), 10s);

    EXPECT_FALSE(failed.has_value());
    EXPECT_EQ(result, 7);
    apartment.stop();
}

/// Deletes every event without running it.
class ClosedApartment final : public SendDoItEvent
{
public:
    void send(DoItEvent* event) override { const std::unique_ptr<DoItEvent> owned(event); }
};

TEST(ApartmentCall, AnEventThatIsDeletedUnrunEndsTheWaitAtOnce)
{
    ClosedApartment apartment;

    const auto result = callOnApartment(apartment, std::function<int()>([] { return 7; }), 1h);

    EXPECT_FALSE(result.has_value());
}

} // namespace
