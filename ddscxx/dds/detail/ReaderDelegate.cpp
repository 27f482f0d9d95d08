#include "dds/detail/ReaderDelegate.hpp"

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
    const dds_return_t code = dds_set_listener(m_entity.handle(), nullptr);
    if (code < 0)
    {
        reportError("detaching a reader's listener", dds_strretcode(code));
    }
}

class ReaderDelegate::Buffer
{
public:
    Buffer(const ReaderDelegate& reader, std::size_t size)
        : m_sampleSize(reader.m_topic->sampleSize()), m_storage(size * m_sampleSize), m_samples(size), m_infos(size)
    {
        for (std::size_t i = 0; i < size; ++i)
        {
            m_samples[i] = &m_storage[i * m_sampleSize];
        }
    }

    std::size_t size() const { return m_samples.size(); }

    /// Fills the buffer through `get`, which is dds_take or dds_read; returns the number of samples or an error code.
    template <typename Get>
    dds_return_t fill(Get get, dds_entity_t reader)
    {
        // An invalid sample fills in the key fields only: the others must not be those of the sample before.
        std::fill(m_storage.begin(), m_storage.end(), std::byte{0});
        return get(reader, m_samples.data(), m_infos.data(), size(), static_cast<std::uint32_t>(size()));
    }
    void visit(const Visitor& visitor, dds_return_t count) const
    {
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        {
            visitor(m_samples[i], m_infos[i]);
        }
    }

private:
    const std::size_t m_sampleSize;
    std::vector<std::byte> m_storage;
    std::vector<void*> m_samples;
    std::vector<dds_sample_info_t> m_infos;
};

void ReaderDelegate::take(const Visitor& visit)
{
    Buffer buffer(*this, batchSize);
    dds_return_t count = 0;
    do
    {
        count = check(buffer.fill(dds_take, m_entity.handle()), call("taking from"));
        buffer.visit(visit, count);
    } while (static_cast<std::size_t>(count) == buffer.size());
}

void ReaderDelegate::read(const Visitor& visit)
{
    // A second read would see the same samples again, so all must fit into one.
    for (std::size_t size = batchSize;; size *= 2)
    {
        Buffer buffer(*this, size);
        const dds_return_t count = check(buffer.fill(dds_read, m_entity.handle()), call("reading"));
        if (static_cast<std::size_t>(count) < size)
        {
            buffer.visit(visit, count);
            return;
        }
    }
}

void ReaderDelegate::listen(ReaderCallback callback, core::status::StatusMask mask)
{
    if (callback == nullptr)
    {
        check(dds_set_listener(m_entity.handle(), nullptr), call("detaching the listener of"));
        m_callback.reset();
        return;
    }
    auto attached = std::make_unique<ReaderCallback>(std::move(callback));
    const NativeListener listener(*attached, mask);
    check(dds_set_listener(m_entity.handle(), listener.get()), call("attaching a listener to"));
    m_callback = std::move(attached);
    callForPending(m_entity.handle(), *m_callback, mask);
}

core::status::SubscriptionMatchedStatus ReaderDelegate::subscriptionMatchedStatus()
{
    dds_subscription_matched_status_t status{};
    check(dds_get_subscription_matched_status(m_entity.handle(), &status), call("asking for the writers of"));
    return fromNative(status);
}

std::string ReaderDelegate::call(const char* what) const
{
    return what + (" topic \"" + m_topic->name() + "\"");
}

} // namespace dds::detail
