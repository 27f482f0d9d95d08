#pragma once

#include <dds/dds.h>

#include <string>
#include <vector>

namespace testsupport
{

/// Stands between the program and the DDS library while it lives: writes down what writers are asked to do, and lets
/// that and the making of readers fail as it is told to. Thread-safe. One at a time.
class BusCalls
{
public:
    BusCalls();
    ~BusCalls();
    BusCalls(const BusCalls&) = delete;
    BusCalls& operator=(const BusCalls&) = delete;

    /// Each write to `topic` is refused with `code` from now on; DDS_RETCODE_OK ends that.
    void failWrites(const std::string& topic, dds_return_t code);
    /// No reader of `topic` can be made from now on; DDS_RETCODE_OK ends that.
    void failReaders(const std::string& topic, dds_return_t code);
    /// Readers never confirm anything from now on.
    void failAcknowledgments();
    /// "write TOPIC" and "wait TOPIC 150 ms", in order, refused ones too.
    std::vector<std::string> calls() const;
};

} // namespace testsupport
