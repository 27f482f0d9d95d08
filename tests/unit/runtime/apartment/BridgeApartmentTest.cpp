#include "runtime/apartment/Apartment.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace com::tallowcrest::apartment; // NOLINT(google-build-using-namespace): the slot's functions are the sut

class BridgeApartmentTest : public testing::Test
{
protected:
    ~BridgeApartmentTest() override { resetBridgeApartment(); }
};

TEST_F(BridgeApartmentTest, theSlotIsEmptyBeforeCreation)
{
    EXPECT_EQ(bridgeApartment(), nullptr);
}

TEST_F(BridgeApartmentTest, creationStoresAStartedApartment)
{
    createBridgeApartment();

    ASSERT_NE(bridgeApartment(), nullptr);
    EXPECT_TRUE(bridgeApartment()->isRunning());
}

TEST_F(BridgeApartmentTest, theApartmentIsEnrolledUnderItsName)
{
    createBridgeApartment();

    testing::internal::CaptureStdout();
    showTasks();

    const std::string table = testing::internal::GetCapturedStdout();
    EXPECT_NE(table.find("    running "), std::string::npos);
    EXPECT_NE(table.find(" Bridge Apartment\n"), std::string::npos);
}

TEST_F(BridgeApartmentTest, aSecondCreationKeepsTheFirstApartment)
{
    createBridgeApartment();
    const auto first = bridgeApartment();

    createBridgeApartment();

    EXPECT_EQ(bridgeApartment(), first);
}

TEST_F(BridgeApartmentTest, creationFromManyThreadsMakesOneApartment)
{
    std::vector<std::shared_ptr<Apartment>> seen(8);
    std::vector<std::thread> threads;
    for (auto& one : seen)
    {
        threads.emplace_back([&one] {
            createBridgeApartment();
            one = bridgeApartment();
        });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }

    for (const auto& one : seen)
    {
        EXPECT_EQ(one, bridgeApartment());
    }
}

TEST_F(BridgeApartmentTest, resetEmptiesTheSlotWhileHoldersKeepTheApartment)
{
    createBridgeApartment();
    const auto held = bridgeApartment();

    resetBridgeApartment();

    EXPECT_EQ(bridgeApartment(), nullptr);
    EXPECT_TRUE(held->isRunning());
}

TEST_F(BridgeApartmentTest, creationAfterResetMakesANewApartment)
{
    createBridgeApartment();
    const auto first = bridgeApartment();
    resetBridgeApartment();

    createBridgeApartment();

    ASSERT_NE(bridgeApartment(), nullptr);
    EXPECT_NE(bridgeApartment(), first);
}

TEST_F(BridgeApartmentTest, aGivenApartmentIsStoredAndNotReplacedByCreation)
{
    const auto given = std::make_shared<Apartment>("given");

    setBridgeApartment(given);
    createBridgeApartment();

    EXPECT_EQ(bridgeApartment(), given);
    EXPECT_FALSE(given->isRunning());
}

TEST_F(BridgeApartmentTest, theLastReferenceMayGoWithTheResetWhileAnEventLooksIntoTheSlot)
{
    class LooksIntoTheSlot final : public DoItEvent
    {
    public:
        void doIt() override { static_cast<void>(bridgeApartment() == nullptr); }
    };
    createBridgeApartment();
    for (int i = 0; i < 1000; ++i)
    {
        post(*bridgeApartment(), std::make_unique<LooksIntoTheSlot>());
    }

    resetBridgeApartment(); // a reset that joined under the slot's mutex would hang here

    EXPECT_EQ(bridgeApartment(), nullptr);
}

} // namespace
