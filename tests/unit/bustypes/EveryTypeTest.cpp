#include "bustypes/SampleText.h"
#include "bustypes/TypeSupport.h"
#include "tests/unit/bustypes/TypeSamples.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <vector>

using namespace com::tallowcrest::dds_::routing;
using typesamples::Sample;

/// What holds for every bus type and each of its members.
template <typename T>
class EveryTypeTest : public testing::Test
{
protected:
    static T throughTheBus(const T& value) { return TypeSupport<T>::fromBus(TypeSupport<T>::toBus(value)); }

    const T m_value = Sample<T>::value();
    const std::vector<T> m_raised = Sample<T>::raised();
};

using Types =
    testing::Types<ComponentInfo, MacroRouter, RouterMember, MacroXptOutput, MacroLevel, RouterMemberMacroXpts>;
TYPED_TEST_SUITE(EveryTypeTest, Types);

TYPED_TEST(EveryTypeTest, BeginsWithZerosAndEmptyTexts)
{
    const auto whole = nlohmann::json::parse(jsonText(TypeParam()));
    for (const auto& member : whole.items())
    {
        EXPECT_TRUE(member.value() == 0 || member.value() == "") << member.key() << ": " << member.value();
    }
}

TYPED_TEST(EveryTypeTest, ComesBackFromTheBusUnchanged)
{
    EXPECT_EQ(this->throughTheBus(this->m_value), this->m_value);
    for (const TypeParam& raised : this->m_raised)
    {
        EXPECT_EQ(this->throughTheBus(raised), raised) << jsonText(raised);
    }
}

TYPED_TEST(EveryTypeTest, IsWrittenWithAllItsMembersInTheirOrderAndReadBack)
{
    EXPECT_EQ(jsonText(this->m_value), Sample<TypeParam>::json);

    TypeParam read;
    EXPECT_TRUE(parseJson(Sample<TypeParam>::json, read));
    EXPECT_EQ(read, this->m_value);
    for (const TypeParam& raised : this->m_raised)
    {
        EXPECT_TRUE(parseJson(jsonText(raised), read));
        EXPECT_EQ(read, raised);
    }
}

TYPED_TEST(EveryTypeTest, TextThatLacksAMemberIsRefusedAndTheValueStays)
{
    const auto whole = nlohmann::json::parse(Sample<TypeParam>::json);
    for (const auto& member : whole.items())
    {
        auto lacking = whole;
        lacking.erase(member.key());
        TypeParam value = this->m_value;

        EXPECT_FALSE(parseJson(lacking.dump(), value)) << "without " << member.key();

        EXPECT_EQ(value, this->m_value);
    }
}

TYPED_TEST(EveryTypeTest, TextWithAMemberOfAnotherTypeIsRefused)
{
    const auto whole = nlohmann::json::parse(Sample<TypeParam>::json);
    for (const auto& member : whole.items())
    {
        auto odd = whole;
        odd[member.key()] = member.value().is_string() ? nlohmann::json(1) : nlohmann::json("1");
        TypeParam value;

        EXPECT_FALSE(parseJson(odd.dump(), value)) << odd;
    }
}

TYPED_TEST(EveryTypeTest, KeyIsTheKeyMembersWithCommasBetween)
{
    EXPECT_EQ(keyText(this->m_value), Sample<TypeParam>::key);
}

TYPED_TEST(EveryTypeTest, KeysAreThoseThatTheBusKnows)
{
    std::vector<std::string> described;
    visitMembers<TypeParam>([&described](const auto& member) {
        if (member.role == MemberRole::Key)
        {
            described.emplace_back(member.name);
        }
    });
    const dds_topic_descriptor_t& descriptor = TypeSupport<TypeParam>::descriptor();
    std::vector<std::string> known;
    for (std::uint32_t i = 0; i < descriptor.m_nkeys; ++i)
    {
        known.emplace_back(descriptor.m_keys[i].m_name);
    }

    EXPECT_EQ(described, known);
}

TYPED_TEST(EveryTypeTest, IsOrderedByItsMembersTheFirstBeforeTheOthers)
{
    for (const TypeParam& raised : this->m_raised)
    {
        EXPECT_NE(raised, this->m_value);
        EXPECT_GT(raised, this->m_value) << jsonText(raised);
    }
    EXPECT_TRUE(std::is_sorted(this->m_raised.rbegin(), this->m_raised.rend()));
}

TYPED_TEST(EveryTypeTest, SaysTheSameWhateverTheTimeAndNothingElse)
{
    for (const TypeParam& raised : this->m_raised)
    {
        TypeParam atOneTime = raised;
        if constexpr (requires { atOneTime.when; })
        {
            atOneTime.when = this->m_value.when;
        }

        EXPECT_EQ(sameButWhen(this->m_value, raised), atOneTime == this->m_value) << jsonText(raised);
    }
}
