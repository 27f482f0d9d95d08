#include "tests/support/BusCalls.h"

#include <dlfcn.h>

#include <array>
#include <mutex>
#include <utility>

namespace
{

struct State
{
    std::mutex mutex;
    bool isWatched = false;
    std::string failingTopic;
    dds_return_t code = DDS_RETCODE_OK;
    std::string unreadableTopic;
    dds_return_t readerCode = DDS_RETCODE_OK;
    bool areAcknowledgmentsMissing = false;
    std::vector<std::string> calls;
};

State& state()
{
    static State& theState = *new State; // threads of the library may outlive everything static
    return theState;
}

std::string nameOf(dds_entity_t topic)
{
    std::array<char, 128> name{};
    static_cast<void>(dds_get_name(topic, name.data(), name.size()));
    return name.data();
}

std::string topicOf(dds_entity_t writer)
{
    return nameOf(dds_get_topic(writer));
}

/// The library's own function, which the one of that name here hides.
template <typename Function>
Function libraryFunction(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" dds_return_t dds_write_ts(dds_entity_t writer, const void* data, dds_time_t timestamp)
{
    static const auto library = libraryFunction<decltype(&dds_write_ts)>("dds_write_ts");
    {
        State& current = state();
        const std::lock_guard lock(current.mutex);
        if (current.isWatched)
        {
            const std::string topic = topicOf(writer);
            current.calls.push_back("write " + topic);
            if (topic == current.failingTopic && current.code != DDS_RETCODE_OK)
            {
                return current.code;
            }
        }
    }
    return library(writer, data, timestamp);
}

extern "C" dds_entity_t dds_create_reader(dds_entity_t owner, dds_entity_t topic, const dds_qos_t* qos,
                                          const dds_listener_t* listener)
{
    static const auto library = libraryFunction<decltype(&dds_create_reader)>("dds_create_reader");
    {
        State& current = state();
        const std::lock_guard lock(current.mutex);
        if (current.readerCode != DDS_RETCODE_OK && nameOf(topic) == current.unreadableTopic)
        {
            return current.readerCode;
        }
    }
    return library(owner, topic, qos, listener);
}

extern "C" dds_return_t dds_wait_for_acks(dds_entity_t writer, dds_duration_t timeout)
{
    static const auto library = libraryFunction<decltype(&dds_wait_for_acks)>("dds_wait_for_acks");
    {
        State& current = state();
        const std::lock_guard lock(current.mutex);
        if (current.isWatched)
        {
            current.calls.push_back("wait " + topicOf(writer) + " " + std::to_string(timeout / 1000000) + " ms");
            if (current.areAcknowledgmentsMissing)
            {
                return DDS_RETCODE_TIMEOUT;
            }
        }
    }
    return library(writer, timeout);
}

namespace testsupport
{

BusCalls::BusCalls()
{
    const std::lock_guard lock(state().mutex);
    state().isWatched = true;
}

BusCalls::~BusCalls()
{
    State& current = state();
    const std::lock_guard lock(current.mutex);
    current.isWatched = false;
    current.code = DDS_RETCODE_OK;
    current.readerCode = DDS_RETCODE_OK;
    current.areAcknowledgmentsMissing = false;
    current.calls.clear();
}

void BusCalls::failWrites(const std::string& topic, dds_return_t code)
{
    const std::lock_guard lock(state().mutex);
    state().failingTopic = topic;
    state().code = code;
}

void BusCalls::failReaders(const std::string& topic, dds_return_t code)
{
    const std::lock_guard lock(state().mutex);
    state().unreadableTopic = topic;
    state().readerCode = code;
}

void BusCalls::failAcknowledgments()
{
    const std::lock_guard lock(state().mutex);
    state().areAcknowledgmentsMissing = true;
}

std::vector<std::string> BusCalls::calls() const
{
    const std::lock_guard lock(state().mutex);
    return state().calls;
}

} // namespace testsupport
