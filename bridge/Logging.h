#pragma once

#include <string>

/// Configures log4cxx once at start. Main thread.
///
/// A file that ends in ".xml" goes to the XML configurator, any other to the properties configurator; a `watchDelay`
/// (milliseconds) other than 0 makes log4cxx look at the file again at that interval. A file that cannot be found is
/// reported on standard error and replaced by a console appender at DEBUG. A file that exists without its owner-read
/// permission leaves logging as it is.
void configureLogging(const std::string& path, long watchDelay);
