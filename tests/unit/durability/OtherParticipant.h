#pragma once

#include "dds/domain/DomainParticipant.hpp"
#include "durability/CompanionPort.h"
#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

/// Another participant that hands over what the test says, whatever it has announced.
class OtherParticipant
{
public:
    explicit OtherParticipant(std::size_t announced)
        : m_port(m_participant.delegate()->handle(), {"R1", "TopicTarget"}, outputCodec(), announced, m_wake)
    {}

    void handOver(std::uint32_t number, std::uint32_t input)
    {
        const BusOutput sample = busOutput(number, input);
        EXPECT_EQ(m_port.write(&sample, 1'600'000'000'000'000), DDS_RETCODE_OK);
        m_port.flush();
    }

private:
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    com::tallowcrest::util::WakeEvent m_wake;
    com::tallowcrest::durability::CompanionPort m_port;
};
