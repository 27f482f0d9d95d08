#include "dds/detail/WriterDelegate.hpp"

#include "dds/detail/Discovery.hpp"
#include "dds/detail/Entity.hpp"
#include "dds/detail/NativeQos.hpp"
#include "dds/detail/NativeStatus.hpp"
#include "dds/pub/WriteBatch.hpp"

#include <utility>

namespace dds::detail
{

namespace
{

/// WriterDelegate sends, once for each change or batch of changes.
NativeQos gathering(const pub::qos::DataWriterQos& qos)
{
    NativeQos native(qos);
    gatherSamples(*native.get());
    return native;
}

} // namespace

WriterDelegate::WriterDelegate(std::shared_ptr<PublisherDelegate> publisher, std::shared_ptr<TopicDelegate> topic,
                               const pub::qos::DataWriterQos& qos)
    : m_publisher(std::move(publisher)), m_topic(std::move(topic)), m_qos(qos),
      m_entity(check(dds_create_writer(m_publisher->handle(), m_topic->handle(), gathering(m_qos).get(), nullptr),
                     "creating the writer of topic \"" + m_topic->name() + "\""))
{}

WriterDelegate::~WriterDelegate()
{
    detachListener(m_entity.handle());
    dds_write_flush(m_entity.handle());
}

void WriterDelegate::write(const void* sample, core::Time sourceTimestamp)
{
    const dds_return_t code = sent(dds_write_ts(m_entity.handle(), sample, sourceTimestamp.to_nanoseconds()));
    if (code < 0)
    {
        check(code, call("writing to"));
    }
}

dds_return_t WriterDelegate::sent(dds_return_t code) const noexcept
{
    // Also after a refusal: the library may have kept something back.
    pub::WriteBatch::send(m_entity.handle());
    return code;
}

core::InstanceHandle WriterDelegate::registerInstance(const void* sample)
{
    dds_instance_handle_t instance = DDS_HANDLE_NIL;
    check(dds_register_instance(m_entity.handle(), &instance, sample), call("registering an instance of"));
    return core::InstanceHandle(instance);
}

core::InstanceHandle WriterDelegate::lookupInstance(const void* sample) const
{
    return core::InstanceHandle(dds_lookup_instance(m_entity.handle(), sample));
}

void WriterDelegate::unregisterInstance(core::InstanceHandle instance, core::Time sourceTimestamp)
{
    check(sent(dds_unregister_instance_ih_ts(m_entity.handle(), instance.value(), sourceTimestamp.to_nanoseconds())),
          call("unregistering an instance of"));
}

void WriterDelegate::disposeInstance(core::InstanceHandle instance, core::Time sourceTimestamp)
{
    check(sent(dds_dispose_ih_ts(m_entity.handle(), instance.value(), sourceTimestamp.to_nanoseconds())),
          call("disposing an instance of"));
}

void WriterDelegate::listen(WriterCallback callback, core::status::StatusMask mask)
{
    m_listener.attach(m_entity.handle(), std::move(callback), mask, call(""));
}

void WriterDelegate::waitForAcknowledgments(core::Duration timeout)
{
    pub::WriteBatch::flush(); // what is not sent is not confirmed
    check(dds_wait_for_acks(m_entity.handle(), timeout.to_chrono().count()), call("waiting for the readers of"));
}

core::status::PublicationMatchedStatus WriterDelegate::publicationMatchedStatus()
{
    dds_publication_matched_status_t status{};
    check(dds_get_publication_matched_status(m_entity.handle(), &status), call("asking for the readers of"));
    return fromNative(status);
}

std::vector<pub::MatchedSubscription> WriterDelegate::matchedSubscriptions() const
{
    std::vector<pub::MatchedSubscription> all;
    visitMatched(
        m_entity.handle(), matchedReaders, call("asking for the readers of"),
        [&all](core::InstanceHandle handle, const dds_builtintopic_endpoint_t& reader) {
            all.push_back({handle, keyOf(reader.participant_key), durabilityOf(*reader.qos), userDataOf(*reader.qos)});
        });
    return all;
}

std::string WriterDelegate::call(const char* what) const
{
    return what + (" topic \"" + m_topic->name() + "\"");
}

} // namespace dds::detail
