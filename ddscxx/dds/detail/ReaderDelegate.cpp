#include "dds/detail/ReaderDelegate.hpp"

#include <array>
#include <utility>
#include <vector>

#include "dds/detail/Check.hpp"
#include "dds/detail/NativeListener.hpp"
#include "dds/detail/NativeQos.hpp"
#include "dds/detail/NativeStatus.hpp"
#include "dds/detail/Report.hpp"

namespace dds::detail
{

namespace
{

constexpr std::size_t batchSize = 128;

/// Samples that the DDS library lends; given back when this goes out of scope.
class Loan
{
public:
    Loan(dds_entity_t reader, void** samples, dds_return_t count) : m_reader(reader), m_samples(samples), m_count(count)
    {}
    ~Loan()
    {
        const dds_return_t code = m_count > 0 ? dds_return_loan(m_reader, m_samples, m_count) : DDS_RETCODE_OK;
        if (code < 0)
        {
            reportError("giving samples back", dds_strretcode(code));
        }
    }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

private:
    dds_entity_t m_reader;
    void** m_samples;
    dds_return_t m_count;
};

} // namespace

ReaderDelegate::ReaderDelegate(std::shared_ptr<SubscriberDelegate> subscriber, std::shared_ptr<TopicDelegate> topic,
                               const sub::qos::DataReaderQos& qos)
    : Entity(check(dds_create_reader(subscriber->handle(), topic->handle(), NativeQos(qos).get(), nullptr),
                   "creating the reader of topic \"" + topic->name() + "\"")),
      m_subscriber(std::move(subscriber)), m_topic(std::move(topic)), m_qos(qos)
{}

ReaderDelegate::~ReaderDelegate()
{
    const dds_return_t code = dds_set_listener(handle(), nullptr);
    if (code < 0)
    {
        reportError("detaching a reader's listener", dds_strretcode(code));
    }
}

void ReaderDelegate::take(const Visitor& visit)
{
    dds_return_t count = 0;
    do
    {
        std::array<void*, batchSize> samples{};
        std::array<dds_sample_info_t, batchSize> infos{};
        count = check(dds_take(handle(), samples.data(), infos.data(), samples.size(), batchSize), call("taking from"));
        const Loan loan(handle(), samples.data(), count);
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        {
            visit(samples[i], infos[i]);
        }
    } while (static_cast<std::size_t>(count) == batchSize);
}

void ReaderDelegate::read(const Visitor& visit)
{
    // A second read would see the same samples again, so all must fit into one.
    for (std::size_t size = batchSize;; size *= 2)
    {
        std::vector<void*> samples(size);
        std::vector<dds_sample_info_t> infos(size);
        const dds_return_t count = check(
            dds_read(handle(), samples.data(), infos.data(), size, static_cast<std::uint32_t>(size)), call("reading"));
        const Loan loan(handle(), samples.data(), count);
        if (static_cast<std::size_t>(count) < size)
        {
            for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            {
                visit(samples[i], infos[i]);
            }
            return;
        }
    }
}

void ReaderDelegate::waitForHistoricalData([[maybe_unused]] core::Duration timeout) {}

void ReaderDelegate::listen(std::unique_ptr<ReaderCallbacks> callbacks, core::status::StatusMask mask)
{
    if (callbacks == nullptr)
    {
        check(dds_set_listener(handle(), nullptr), call("detaching the listener of"));
        m_callbacks.reset();
        return;
    }
    const NativeListener listener(*callbacks, mask);
    check(dds_set_listener(handle(), listener.get()), call("attaching a listener to"));
    m_callbacks = std::move(callbacks);
    callForPending(handle(), *m_callbacks, mask);
}

core::status::SubscriptionMatchedStatus ReaderDelegate::subscriptionMatchedStatus()
{
    dds_subscription_matched_status_t status{};
    check(dds_get_subscription_matched_status(handle(), &status), call("asking for the writers of"));
    return fromNative(status);
}

std::string ReaderDelegate::call(const char* what) const
{
    return what + (" topic \"" + m_topic->name() + "\"");
}

} // namespace dds::detail
