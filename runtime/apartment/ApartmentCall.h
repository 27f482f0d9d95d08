#pragma once

#include "runtime/apartment/DoItEvent.h"

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <utility>

namespace com::tallowcrest::apartment
{

/// Work for an apartment whose result another thread waits for. Deleted unrun (the apartment is gone), or left by an
/// exception of the work (which the apartment logs), it breaks its promise.
template <typename Result>
class ApartmentCallEvent final : public DoItEvent
{
public:
    explicit ApartmentCallEvent(std::function<Result()> work) : m_work(std::move(work)) {}

    std::future<Result> result() { return m_promise.get_future(); }
    void doIt() override { m_promise.set_value(m_work()); }

private:
    std::function<Result()> m_work;
    std::promise<Result> m_promise;
};

/// Runs `work` on the apartment and hands its result to the calling thread, which must not be the apartment's own.
/// Empty when the apartment does not get to it in time (it is stopped, stopping or busy) or the work throws. After a
/// time-out the work may still run later, or stay in the queue of an apartment that has stopped, so it must copy or
/// hold weakly whatever it touches.
template <typename Result>
std::optional<Result> callOnApartment(SendDoItEvent& apartment, std::function<Result()> work,
                                      std::chrono::milliseconds timeout)
{
    auto event = std::make_unique<ApartmentCallEvent<Result>>(std::move(work));
    std::future<Result> result = event->result();
    post(apartment, std::move(event));
    if (result.wait_for(timeout) != std::future_status::ready)
    {
        return std::nullopt;
    }
    try
    {
        return result.get();
    }
    catch (const std::future_error&)
    {
        return std::nullopt; // the event was deleted unrun, or its work threw and the apartment has logged why
    }
}

} // namespace com::tallowcrest::apartment
