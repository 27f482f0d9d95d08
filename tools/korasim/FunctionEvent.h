#pragma once

#include "runtime/apartment/DoItEvent.h"

#include <functional>
#include <utility>

namespace korasim
{

/// Runs a function on an apartment.
class FunctionEvent final : public com::tallowcrest::apartment::DoItEvent
{
public:
    explicit FunctionEvent(std::function<void()> function) : m_function(std::move(function)) {}
    void doIt() override { m_function(); }

private:
    std::function<void()> m_function;
};

/// Runs a function on an apartment and waits until it is done; what it throws is thrown to the caller. Not from the
/// apartment's own thread, and only while the apartment runs.
void runOn(com::tallowcrest::apartment::SendDoItEvent& apartment, const std::function<void()>& function);

} // namespace korasim
