#pragma once

namespace dds::detail
{

/// Writes an error into the DDS library's own log: for places from which no exception may leave. Never throws.
void reportError(const char* what, const char* text) noexcept;

} // namespace dds::detail
