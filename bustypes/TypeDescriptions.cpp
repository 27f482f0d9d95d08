#include "bustypes/TypeDescriptions.h"

#include "bustypes/BoundedString.h"

#include <cstdint>

// What the C++ values and the IDL both say must be the same; the members are compared where they are converted.
namespace com::tallowcrest::dds_::routing
{

#define SAME_ENUMERATOR(NAME)                                                                                          \
    static_assert((NAME) == static_cast<std::uint32_t>(com_tallowcrest_dds__routing_##NAME), #NAME)
SAME_ENUMERATOR(LPR_RELEASED);
SAME_ENUMERATOR(LPR_PROTECTED);
SAME_ENUMERATOR(LPR_LOCKED);
SAME_ENUMERATOR(LST_Video);
SAME_ENUMERATOR(LST_Audio);
SAME_ENUMERATOR(T288x288_IP);
SAME_ENUMERATOR(T144x144);
SAME_ENUMERATOR(T288x288);
SAME_ENUMERATOR(T216x432);
SAME_ENUMERATOR(T432x216);
SAME_ENUMERATOR(T192x576);
SAME_ENUMERATOR(T576x192);
SAME_ENUMERATOR(T288x576);
SAME_ENUMERATOR(T576x288);
SAME_ENUMERATOR(T288x864);
SAME_ENUMERATOR(T864x288);
SAME_ENUMERATOR(T288x1152);
SAME_ENUMERATOR(T576x576);
SAME_ENUMERATOR(T1152x288);
SAME_ENUMERATOR(T288x1728);
SAME_ENUMERATOR(T576x864);
SAME_ENUMERATOR(T864x576);
SAME_ENUMERATOR(T1728x288);
#undef SAME_ENUMERATOR

static_assert(sizeof(com_tallowcrest_dds__routing_ComponentInfo::name) == componentNameBound + 1);
static_assert(sizeof(com_tallowcrest_dds__routing_ComponentInfo::description) == componentDescriptionBound + 1);

} // namespace com::tallowcrest::dds_::routing
