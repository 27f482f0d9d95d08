#pragma once

#include "dds/sub/Sample.hpp"

#include <cstddef>
#include <utility>
#include <vector>

namespace dds::sub
{

/// The samples of one take or read, in the order in which the reader gave them. A plain value: what the DDS library
/// lent has been copied and given back.
template <typename T>
class LoanedSamples
{
public:
    using const_iterator = typename std::vector<Sample<T>>::const_iterator;

    LoanedSamples() = default;
    explicit LoanedSamples(std::vector<Sample<T>> samples) : m_samples(std::move(samples)) {}

    const_iterator begin() const { return m_samples.begin(); }
    const_iterator end() const { return m_samples.end(); }
    std::size_t length() const { return m_samples.size(); }
    const Sample<T>& operator[](std::size_t index) const { return m_samples[index]; }

private:
    std::vector<Sample<T>> m_samples;
};

} // namespace dds::sub
