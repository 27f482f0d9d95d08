#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "dds/sub/LoanedSamples.hpp"

namespace com::tallowcrest::routing
{

/// The bus reports a value and the end of its instance (disposed, or no writer left) in one sample when both happened
/// before the reader looked: data that is valid, of an instance that is gone. Handlers look at validity alone, so each
/// such sample is followed here by one without valid data. All others stay as they are.
template <typename T>
dds::sub::LoanedSamples<T> withEndsApart(dds::sub::LoanedSamples<T> taken)
{
    const auto endsWithData = [](const dds::sub::Sample<T>& sample) {
        return sample.info().valid() &&
               sample.info().state().instance_state() != dds::sub::status::InstanceState::Alive;
    };
    if (std::none_of(taken.begin(), taken.end(), endsWithData))
    {
        return taken;
    }
    std::vector<dds::sub::Sample<T>> apart;
    apart.reserve(taken.length() + 1);
    for (const auto& sample : taken)
    {
        apart.push_back(sample);
        if (endsWithData(sample))
        {
            const auto& info = sample.info();
            apart.emplace_back(sample.data(), dds::sub::SampleInfo(false, info.state(), info.timestamp(),
                                                                   info.instance_handle(), info.publication_handle()));
        }
    }
    return dds::sub::LoanedSamples<T>(std::move(apart));
}

} // namespace com::tallowcrest::routing
