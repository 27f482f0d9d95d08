#pragma once

#include "bustypes/RoutingTypes.h"
#include "bustypes/TypeSupport.h"
#include "dds/detail/NativeListener.hpp"
#include "durability/Channel.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace dds::detail
{
class ReaderDelegate;
} // namespace dds::detail

namespace fuzz
{

/// A bus without a network, for one thread. FuzzBus.cpp defines what `ddscxx` says to the DDS library, so that a
/// program that links it runs everything from the wrappers up as it is, and nothing below. Samples that are published
/// reach the readers of their topic and partition inside the call; what the bridge writes is recorded. The last
/// sample of each instance that was written stays and is the history of a later join. FuzzBus.cpp also stands in for
/// the recorder of such data.
class FuzzBus
{
public:
    using Output = com::tallowcrest::dds_::routing::MacroXptOutput;
    using Bytes = std::vector<std::byte>;
    using SourceTime = com::tallowcrest::durability::SourceTime;

    /// One sample that the bridge wrote.
    struct Write
    {
        std::string topic;
        std::string partition;
        Output sample;
    };

    static FuzzBus& instance();

    /// Forgets writes and history. Readers come and go with their owners.
    void reset();

    /// Delivers a sample to the readers of the topic in the partition. One without valid data stands for the end of its
    /// instance.
    template <typename T>
    void publish(const std::string& topic, const std::string& partition, const T& sample, bool isValid)
    {
        const auto bus = com::tallowcrest::dds_::routing::TypeSupport<T>::toBus(sample);
        Bytes bytes(sizeof(bus));
        std::memcpy(bytes.data(), &bus, sizeof(bus));
        deliver(topic, partition, bytes, isValid);
    }

    /// Gives those who have joined their history.
    void deliverHistory();

    /// What was written since the last call.
    std::vector<Write> takeWrites() { return std::exchange(m_writes, {}); }

    // For the delegates.
    /// `isWanted` is the topic's filter, perhaps empty.
    void attach(const dds::detail::ReaderDelegate* reader, std::string topic, std::string partition,
                std::function<bool(const void*)> isWanted);
    void detach(const dds::detail::ReaderDelegate* reader) { m_readers.erase(reader); }
    void listen(const dds::detail::ReaderDelegate* reader, dds::detail::ReaderCallback callback);
    void record(const std::string& topic, const std::string& partition, const Output& sample, SourceTime written);
    // For the recorder.
    void addChannel(std::shared_ptr<com::tallowcrest::durability::Channel> channel);

    struct Sample
    {
        Bytes bytes;
        bool isValid = false;
    };
    /// At most so many.
    std::vector<Sample> take(const dds::detail::ReaderDelegate* reader, std::size_t most);

private:
    using Channel = std::pair<std::string, std::string>; ///< topic, partition

    struct Reader
    {
        Channel channel;
        std::function<bool(const void*)> isWanted;
        dds::detail::ReaderCallback callback;
        std::vector<Sample> samples;
    };

    void deliver(const std::string& topic, const std::string& partition, const Bytes& bytes, bool isValid);

    std::map<const dds::detail::ReaderDelegate*, Reader> m_readers;
    std::vector<Write> m_writes;
    std::map<Channel, std::map<std::uint32_t, std::pair<Output, SourceTime>>> m_history;
    std::vector<std::shared_ptr<com::tallowcrest::durability::Channel>> m_channels; ///< asked for and not yet looked at
};

} // namespace fuzz
