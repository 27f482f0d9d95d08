#pragma once

#include <dds/dds.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace com::tallowcrest::durability
{

/// The DDS library refused to make an entity.
class BusError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Owns an entity of the DDS library, and with it all that was made from it.
class BusEntity
{
public:
    BusEntity() = default;
    /// Takes what a create function returned; throws BusError when that is an error.
    BusEntity(dds_entity_t handle, const std::string& what) : m_handle(handle)
    {
        if (handle < 0)
        {
            throw BusError(what + ": " + dds_strretcode(handle));
        }
    }
    ~BusEntity()
    {
        if (m_handle > 0)
        {
            static_cast<void>(dds_delete(m_handle));
        }
    }
    BusEntity(const BusEntity&) = delete;
    BusEntity& operator=(const BusEntity&) = delete;

    dds_entity_t get() const { return m_handle; }

private:
    dds_entity_t m_handle = 0;
};

struct BusQosDeleter
{
    void operator()(dds_qos_t* qos) const { dds_delete_qos(qos); }
};
using BusQos = std::unique_ptr<dds_qos_t, BusQosDeleter>;

} // namespace com::tallowcrest::durability
