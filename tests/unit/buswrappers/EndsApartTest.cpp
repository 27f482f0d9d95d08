#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicSub.h"

#include <gtest/gtest.h>

using com::tallowcrest::dds_::routing::MacroXptOutput;
using com::tallowcrest::routing::withEndsApart;
using dds::sub::status::InstanceState;

namespace
{

dds::sub::Sample<MacroXptOutput> sample(std::uint32_t output, bool valid, InstanceState state)
{
    MacroXptOutput data;
    data.macroXptOutput = output;
    return {data, dds::sub::SampleInfo(valid, dds::sub::status::DataState(state), dds::core::Time(0),
                                       dds::core::InstanceHandle(), dds::core::InstanceHandle())};
}

std::vector<std::pair<std::uint32_t, bool>> outputsAndValidity(const dds::sub::LoanedSamples<MacroXptOutput>& samples)
{
    std::vector<std::pair<std::uint32_t, bool>> result;
    for (const auto& entry : samples)
    {
        result.emplace_back(entry.data().macroXptOutput, entry.info().valid());
    }
    return result;
}

using Expected = std::vector<std::pair<std::uint32_t, bool>>;

} // namespace

TEST(EndsApartTest, SamplesOfLivingInstancesStayAsTheyAre)
{
    const auto sut = withEndsApart(dds::sub::LoanedSamples<MacroXptOutput>(
        {sample(1, true, InstanceState::Alive), sample(2, true, InstanceState::Alive)}));

    EXPECT_EQ(outputsAndValidity(sut), (Expected{{1, true}, {2, true}}));
}

TEST(EndsApartTest, SamplesWithoutDataStayAsTheyAre)
{
    const auto sut =
        withEndsApart(dds::sub::LoanedSamples<MacroXptOutput>({sample(1, false, InstanceState::NotAliveDisposed)}));

    EXPECT_EQ(outputsAndValidity(sut), (Expected{{1, false}}));
}

TEST(EndsApartTest, ValueOfAnEndedInstanceIsFollowedByItsEnd)
{
    const auto sut = withEndsApart(dds::sub::LoanedSamples<MacroXptOutput>(
        {sample(1, true, InstanceState::Alive), sample(2, true, InstanceState::NotAliveDisposed),
         sample(3, true, InstanceState::NotAliveNoWriters), sample(4, true, InstanceState::Alive)}));

    EXPECT_EQ(outputsAndValidity(sut), (Expected{{1, true}, {2, true}, {2, false}, {3, true}, {3, false}, {4, true}}));
}
