#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace
{

/// Lets our DDS implementation send the hash of the key with every message. The other implementation knows an instance
/// by nothing else when a message carries no data, and so, without it, takes no notice of a writer or participant of
/// ours that goes until its lease runs out.
class KeyHashEnvironment : public testing::Environment
{
public:
    void SetUp() override
    {
        // NOLINTBEGIN(concurrency-mt-unsafe): before the first thread
        const char* const configured = std::getenv("CYCLONEDDS_URI");
        const std::string uri = std::string(configured == nullptr ? "" : configured) +
                                ",<Internal><GenerateKeyhash>true</GenerateKeyhash></Internal>";
        setenv("CYCLONEDDS_URI", uri.c_str(), 1);
        // NOLINTEND(concurrency-mt-unsafe)
    }
};

const testing::Environment* const keyHashEnvironment =
    testing::AddGlobalTestEnvironment(new KeyHashEnvironment()); // owned by the framework

} // namespace
