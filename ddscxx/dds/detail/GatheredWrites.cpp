#include "dds/detail/GatheredWrites.hpp"

namespace dds::detail
{

void gatherWrites([[maybe_unused]] dds_qos_t* writerQos)
{
#ifdef KORABRIDGE_HAS_WRITER_BATCHING
    dds_qset_writer_batching(writerQos, true);
#else
    dds_write_set_batch(true);
#endif
}

} // namespace dds::detail
