#include "tools/korasim/DelayedSender.h"

#include "tests/fakes/FakeApartment.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <vector>

using namespace korasim;
using namespace std::chrono_literals;

namespace
{

std::shared_ptr<FakeApartment> inlineApartment()
{
    return std::make_shared<FakeApartment>(FakeApartment::Sent::RunsAtOnce);
}

/// Remembers in which order events ran.
class RunOrder
{
public:
    DelayedSender::Event event(int number)
    {
        return std::make_unique<FunctionEvent>([this, number] {
            const std::lock_guard lock(m_mutex);
            m_numbers.push_back(number);
        });
    }
    std::vector<int> numbers()
    {
        const std::lock_guard lock(m_mutex);
        return m_numbers;
    }

private:
    std::mutex m_mutex;
    std::vector<int> m_numbers;
};

} // namespace

TEST(DelayedSenderTest, EventsRunInTheOrderOfTheirTimes)
{
    RunOrder order;
    DelayedSender sut(inlineApartment());

    sut.send(order.event(3), 60ms);
    sut.send(order.event(2), 30ms);
    sut.send(order.event(1), 0ms);

    ASSERT_TRUE(testsupport::waitUntil([&] { return order.numbers().size() == 3; }));
    EXPECT_EQ(order.numbers(), (std::vector<int>{1, 2, 3}));
}

TEST(DelayedSenderTest, EventsThatAreNotDueAreDroppedAtTheEnd)
{
    RunOrder order;
    {
        DelayedSender sut(inlineApartment());
        sut.send(order.event(1), 1h);
    }
    EXPECT_TRUE(order.numbers().empty());
}

TEST(DelayedSenderTest, EarlierEventIsNotHeldUpByALaterOne)
{
    RunOrder order;
    DelayedSender sut(inlineApartment());

    sut.send(order.event(2), 1h);
    sut.send(order.event(1), 1ms);

    EXPECT_TRUE(testsupport::waitUntil([&] { return order.numbers() == std::vector<int>{1}; }));
}
