#pragma once

#include <filesystem>

namespace com::tallowcrest::durability
{

/// The file that KORABRIDGE_DURABLE_STORE names, else /var/lib/korabridge/durable.db.
std::filesystem::path storePath();

/// KORABRIDGE_SHARED_TARGETS=1: the bridges of a partition share their tables of targets.
bool areTargetsShared();

} // namespace com::tallowcrest::durability
