#pragma once

#include <string>

namespace com::tallowcrest::util
{

/// Names the calling thread for whoever looks at the process from outside. The system keeps 15 bytes of it.
void nameThread(const std::string& name);

} // namespace com::tallowcrest::util
