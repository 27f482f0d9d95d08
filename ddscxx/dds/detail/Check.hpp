#pragma once

#include <dds/dds.h>

#include <string>

namespace dds::detail
{

/// Returns `code` when it is not negative; otherwise throws the exception of the code, whose text is
/// "<call>: <the code's own text>", with `hint` after it when there is one.
dds_return_t check(dds_return_t code, const std::string& call, const std::string& hint = {});

} // namespace dds::detail
