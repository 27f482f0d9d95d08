#include "tools/korasim/FunctionEvent.h"

#include <future>
#include <memory>

namespace korasim
{

void runOn(com::tallowcrest::apartment::SendDoItEvent& apartment, const std::function<void()>& function)
{
    std::packaged_task<void()> task(function);
    auto done = task.get_future();
    post(apartment, std::make_unique<FunctionEvent>([&task] { task(); }));
    done.get();
}

} // namespace korasim
