#pragma once

#include "tools/korapanel/model/EventLog.h"

namespace korapanel
{

/// The file openapi.json of this program, as it is: what the interface looks like, for programs that read it.
SharedText description();

} // namespace korapanel
