#pragma once

#include "dds/sub/SampleInfo.hpp"

#include <utility>

namespace dds::sub
{

/// A value as it came from the bus, and what came with it.
template <typename T>
class Sample
{
public:
    Sample(T data, const SampleInfo& info) : m_data(std::move(data)), m_info(info) {}

    const T& data() const { return m_data; }
    const SampleInfo& info() const { return m_info; }

private:
    T m_data;
    SampleInfo m_info;
};

} // namespace dds::sub
