#include "bustypes/TopicNames.h"
#include "bustypes/TypeSupport.h"
#include "dds/topic/Topic.hpp"
#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/WaitUntil.h"

#include <dds/dds.h>

#include <memory>
#include <sstream>
#include <string>

using namespace e2e;
using com::tallowcrest::dds_::routing::MacroXptOutput;
using com::tallowcrest::dds_::routing::RouterMember;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::topicName;

namespace
{

/// Writes what is no sample of the type that it says it is.
class Liar
{
public:
    Liar(TopicName name, const char* partition)
    {
        using Truth = dds::topic::topic_type_support<RouterMember>;
        const dds_topic_descriptor_t& truth = Truth::descriptor();
        // What describes the type more closely is left out: names alone are compared.
        const dds_topic_descriptor_t descriptor{
            .m_size = truth.m_size,
            .m_align = truth.m_align,
            .m_flagset = truth.m_flagset & ~static_cast<std::uint32_t>(DDS_TOPIC_XTYPES_METADATA),
            .m_nkeys = truth.m_nkeys,
            .m_typename = dds::topic::topic_type_support<MacroXptOutput>::descriptor().m_typename,
            .m_keys = truth.m_keys,
            .m_nops = truth.m_nops,
            .m_ops = truth.m_ops,
            .m_meta = truth.m_meta,
            .type_information = {},
            .type_mapping = {},
            .restrict_data_representation = truth.restrict_data_representation};
        const std::unique_ptr<dds_qos_t, decltype(&dds_delete_qos)> qos(dds_create_qos(), &dds_delete_qos);
        dds_qset_partition1(qos.get(), partition);
        dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, DDS_SECS(10));
        dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
        const dds_entity_t topic = dds_create_topic(m_participant, &descriptor, topicName(name), nullptr, nullptr);
        EXPECT_GT(topic, 0) << dds_strretcode(topic);
        m_writer =
            dds_create_writer(dds_create_publisher(m_participant, qos.get(), nullptr), topic, qos.get(), nullptr);
        EXPECT_GT(m_writer, 0) << dds_strretcode(m_writer);
        EXPECT_TRUE(testsupport::waitUntil([this] {
            dds_publication_matched_status_t status{};
            return dds_get_publication_matched_status(m_writer, &status) == DDS_RETCODE_OK && status.current_count > 0;
        })) << "the bridge believes it";
    }
    ~Liar() { dds_delete(m_participant); }
    Liar(const Liar&) = delete;
    Liar& operator=(const Liar&) = delete;

    void write(std::uint32_t number) const
    {
        const auto sample = dds::topic::topic_type_support<RouterMember>::toBus({number, "", 0});
        EXPECT_EQ(dds_write(m_writer, &sample), DDS_RETCODE_OK);
    }

private:
    const dds_entity_t m_participant = dds_create_participant(DDS_DOMAIN_DEFAULT, nullptr, nullptr);
    dds_entity_t m_writer = 0;
};

std::size_t linesHolding(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        count += line.find(part) != std::string::npos ? 1U : 0U;
    }
    return count;
}

using UndecodableTest = BridgeFixture;

} // namespace

TEST_F(UndecodableTest, SamplesThatAreNoneOfTheirTypeAreLoggedAFewTimesAndHoldUpNobody)
{
    startJoined();
    auto client = connectController();
    const Liar liar(TopicName::MacroXptOutputVideoStatus, "com:tallowcrest:routing:R1");

    for (std::uint32_t i = 0; i < 1000; ++i)
    {
        liar.write(i);
    }

    EXPECT_TRUE(bridge().waitForOutput("DDS library: "));
    EXPECT_EQ(client.take({{videoLevel, 0, 6, 7}}), std::vector<std::uint32_t>{0});
    EXPECT_TRUE(waitForInput(client, videoLevel, 7, 6));
    EXPECT_LE(linesHolding(bridge().output(), "DDS library: "), 15U);
    EXPECT_EQ(bridge().errors().find("deserialization"), std::string::npos) << bridge().errors();
}
