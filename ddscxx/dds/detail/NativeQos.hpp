#pragma once

#include "dds/core/policy/CorePolicy.hpp"

#include <dds/dds.h>

#include <memory>
#include <tuple>

namespace dds::detail
{

/// A QoS in the DDS library's own form: every policy of a QoS value, and nothing else, set explicitly.
class NativeQos
{
public:
    template <typename Qos>
    explicit NativeQos(const Qos& qos) : NativeQos()
    {
        std::apply([this](const auto&... policy) { (this->set(policy), ...); }, qos.policies());
    }

    dds_qos_t* get() const { return m_qos.get(); }

private:
    struct Deleter
    {
        void operator()(dds_qos_t* qos) const { dds_delete_qos(qos); }
    };

    NativeQos();
    void set(const core::policy::Durability& policy);
    void set(const core::policy::Reliability& policy);
    void set(const core::policy::History& policy);
    void set(const core::policy::Partition& policy);
    void set(const core::policy::WriterDataLifecycle& policy);
    void set(const core::policy::UserData& policy);
    void set(const core::policy::IgnoreLocal& policy);

    std::unique_ptr<dds_qos_t, Deleter> m_qos;
};

/// For a writer that is about to be made: the library sends nothing by itself, but keeps samples until it is told to
/// send them. Earlier releases of the library have no policy for it, but a switch for all writers that the process
/// makes from then on, which works once there is a participant.
void gatherSamples(dds_qos_t& qos);

/// The policies of an entity that was discovered; the standard's default for what it has not told.
core::policy::Durability durabilityOf(const dds_qos_t& qos);
core::policy::UserData userDataOf(const dds_qos_t& qos);

} // namespace dds::detail
