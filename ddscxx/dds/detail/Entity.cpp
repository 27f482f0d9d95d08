#include "dds/detail/Entity.hpp"

#include "dds/detail/Report.hpp"

namespace dds::detail
{

Entity::~Entity()
{
    const dds_return_t code = dds_delete(m_handle);
    if (code < 0)
    {
        reportError("deleting a DDS entity", dds_strretcode(code));
    }
}

} // namespace dds::detail
