#include "dds/detail/ReaderDelegate.hpp"

#include "dds/detail/Discovery.hpp"
#include "dds/detail/Entity.hpp"
#include "dds/detail/NativeQos.hpp"
#include "dds/detail/NativeStatus.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace dds::detail
{

namespace
{

/// Nearly always one sample waits, and making room for many costs more than taking it.
constexpr std::size_t firstBatch = 4;
constexpr std::size_t batchSize = 128;

} // namespace

ReaderDelegate::ReaderDelegate(std::shared_ptr<SubscriberDelegate> subscriber, std::shared_ptr<TopicDelegate> topic,
                               const sub::qos::DataReaderQos& qos)
    : m_subscriber(std::move(subscriber)), m_topic(std::move(topic)), m_qos(qos),
      m_entity(check(dds_create_reader(m_subscriber->handle(), m_topic->handle(), NativeQos(m_qos).get(), nullptr),
                     "creating the reader of topic \"" + m_topic->name() + "\""))
{}

ReaderDelegate::~ReaderDelegate()
{
    detachListener(m_entity.handle());
}

class ReaderDelegate::Buffer
{
public:
    Buffer(const ReaderDelegate& reader, std::size_t size)
        : m_descriptor(reader.m_topic->descriptor()), m_sampleSize(reader.m_topic->sampleSize()),
          m_storage(size * m_sampleSize), m_samples(size), m_infos(size)
    {
        for (std::size_t i = 0; i < size; ++i)
        {
            m_samples[i] = &m_storage[i * m_sampleSize];
        }
    }
    ~Buffer() { release(); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    /// Gets `most` samples, at most its size, through `get`, which is dds_take or dds_read; returns their number or an
    /// error code.
    template <typename Get>
    dds_return_t fill(Get get, dds_entity_t reader, std::size_t most)
    {
        release();
        // An invalid sample fills in the key fields only: the others must not be those of the sample before.
        std::fill(m_storage.begin(), m_storage.end(), std::byte{0});
        const dds_return_t count =
            get(reader, m_samples.data(), m_infos.data(), most, static_cast<std::uint32_t>(most));
        m_filled = static_cast<std::size_t>(std::max(count, 0));
        return count;
    }
    void visit(const Visitor& visitor, dds_return_t count) const
    {
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        {
            visitor(m_samples[i], m_infos[i]);
        }
    }

private:
    /// What sequences in the samples point to is the library's.
    void release() noexcept
    {
        std::for_each_n(m_samples.begin(), std::exchange(m_filled, 0),
                        [this](void* sample) { dds_sample_free(sample, &m_descriptor, DDS_FREE_CONTENTS); });
    }

    const dds_topic_descriptor_t& m_descriptor;
    const std::size_t m_sampleSize;
    std::vector<std::byte> m_storage;
    std::vector<void*> m_samples;
    std::vector<dds_sample_info_t> m_infos;
    std::size_t m_filled = 0;
};

void ReaderDelegate::take(const Visitor& visit, std::size_t most)
{
    for (std::size_t size = firstBatch; most > 0; size = batchSize)
    {
        most = takeOnce(size, visit, most);
    }
}

std::size_t ReaderDelegate::takeOnce(std::size_t size, const Visitor& visit, std::size_t most)
{
    Buffer buffer(*this, size);
    const std::size_t wanted = std::min(most, size);
    const dds_return_t count = buffer.fill(dds_take, m_entity.handle(), wanted);
    if (count < 0)
    {
        check(count, call("taking from"));
    }
    buffer.visit(visit, count);
    return static_cast<std::size_t>(count) == wanted ? most - wanted : 0;
}

void ReaderDelegate::read(const Visitor& visit)
{
    // A second read would see the same samples again, so all must fit into one.
    for (std::size_t size = batchSize;; size *= 2)
    {
        Buffer buffer(*this, size);
        const dds_return_t count = check(buffer.fill(dds_read, m_entity.handle(), size), call("reading"));
        if (static_cast<std::size_t>(count) < size)
        {
            buffer.visit(visit, count);
            return;
        }
    }
}

void ReaderDelegate::listen(ReaderCallback callback, core::status::StatusMask mask)
{
    m_listener.attach(m_entity.handle(), std::move(callback), mask, call(""));
}

core::status::SubscriptionMatchedStatus ReaderDelegate::subscriptionMatchedStatus()
{
    dds_subscription_matched_status_t status{};
    check(dds_get_subscription_matched_status(m_entity.handle(), &status), call("asking for the writers of"));
    return fromNative(status);
}

std::vector<sub::MatchedPublication> ReaderDelegate::matchedPublications() const
{
    std::vector<sub::MatchedPublication> all;
    visitMatched(m_entity.handle(), matchedWriters, call("asking for the writers of"),
                 [&all](core::InstanceHandle handle, const dds_builtintopic_endpoint_t& writer) {
                     all.push_back({handle, keyOf(writer.participant_key)});
                 });
    return all;
}

std::optional<sub::MatchedPublication> ReaderDelegate::matchedPublication(core::InstanceHandle handle) const
{
    std::optional<sub::MatchedPublication> found;
    visitMatched(m_entity.handle(), matchedWriters, handle,
                 [&found](core::InstanceHandle which, const dds_builtintopic_endpoint_t& writer) {
                     found = sub::MatchedPublication{which, keyOf(writer.participant_key)};
                 });
    return found;
}

std::string ReaderDelegate::call(const char* what) const
{
    return what + (" topic \"" + m_topic->name() + "\"");
}

} // namespace dds::detail
