#pragma once

#include "bustypes/TopicNames.h"
#include "buswrappers/TopicPub.h"
#include "dds/core/Exception.hpp"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace e2e
{

/// Somebody else's writer of a topic that the bridge reads. What it has written stays until it goes.
template <typename T>
class HostilePub : public com::tallowcrest::routing::TopicPub<T>
{
public:
    using Base = com::tallowcrest::routing::TopicPub<T>;

    /// Waits until it has found `numReaders`.
    HostilePub(com::tallowcrest::routing::TopicName topic, const std::string& partition, std::int32_t numReaders = 1)
        : Base(com::tallowcrest::routing::topicName(topic), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL)
    {
        Base::joinRouterPartition(partition);
        EXPECT_TRUE(testsupport::waitUntil(
            [&] { return this->writer().publication_matched_status().current_count() >= numReaders; }));
    }

    /// Again and again while readers do not keep up.
    void write(const T& sample) override
    {
        while (true)
        {
            try
            {
                Base::write(sample);
                return;
            }
            catch (const dds::core::TimeoutError&)
            {
                flush();
            }
        }
    }
    /// Waits until all readers have received what was written.
    void flush() { this->writer().wait_for_acknowledgments(std::chrono::seconds(60)); }
};

} // namespace e2e
