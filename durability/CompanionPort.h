#pragma once

#include "durability/BusEntity.h"
#include "durability/StoredRow.h"
#include "durability/TypeCodec.h"
#include "runtime/util/WakeEvent.h"

#include <dds/dds.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace com::tallowcrest::durability
{

/// One channel's end of its companion topic, on which participants hand each other what they keep: a writer whose
/// samples every later reader gets (TRANSIENT_LOCAL), and a reader that keeps everything until it is taken. The writer
/// announces in its user data how many instances it hands over, so that a reader knows when it has them all. Bound to
/// the recorder's thread.
class CompanionPort
{
public:
    /// Throws BusError. `wake` is signalled from the DDS library's threads when there is something to do.
    CompanionPort(dds_entity_t participant, const ChannelName& channel, const TypeCodec& codec, std::size_t promise,
                  util::WakeEvent& wake);
    CompanionPort(const CompanionPort&) = delete;
    CompanionPort& operator=(const CompanionPort&) = delete;

    /// Letters, digits, underscores and slashes are all that topic names may hold.
    static std::string topicName(const std::string& topic) { return topic + "_durable"; }

    /// A code of the DDS library; DDS_RETCODE_TIMEOUT when a slow reader is in the way and the sample was not written.
    /// Reaches the others with the next `flush` at the latest.
    dds_return_t write(const void* sample, SourceTime written);
    void flush();
    /// Announces the number of instances, when it has changed.
    void promise(std::size_t instances);

    /// A sample of another participant. `instance` and `writer` are handles of this process.
    using Visitor = std::function<void(const void* sample, SourceTime written, dds_instance_handle_t instance,
                                       dds_instance_handle_t writer)>;
    void take(const Visitor& visit);

    struct Peer
    {
        dds_instance_handle_t writer = 0;
        std::size_t promised = 0;
    };
    /// The writers of other participants, and what each has announced.
    std::vector<Peer> peers() const;
    /// True when readers have appeared since the last call.
    bool takeNewReaders();

private:
    const ChannelName m_channel;
    const TypeCodec& m_codec;
    std::size_t m_promised;
    std::uint32_t m_readersSeen = 0;
    std::vector<std::byte> m_storage;
    std::vector<void*> m_samples;
    std::vector<dds_sample_info_t> m_infos;
    BusEntity m_topic;
    BusEntity m_publisher;
    BusEntity m_subscriber;
    BusEntity m_writer;
    BusEntity m_reader;
};

} // namespace com::tallowcrest::durability
