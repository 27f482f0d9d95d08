#pragma once

#include "tools/koractl/doctor/Facts.h"

#include <iosfwd>

namespace koractl
{

/// The metrics that the doctor looks at, out of a file in Prometheus' text format. Others, and lines that make no
/// sense, are passed over. Does not know the file's age. Pure.
MetricsFacts readMetrics(std::istream& lines);

} // namespace koractl
