#pragma once

#include "durability/Decision.h"

#include <functional>

namespace com::tallowcrest::durability
{

/// The topic whose data are kept, in the partition that was joined last, as far as others are concerned: what they
/// write, and who reads. Used by the recorder's thread; what the bridge writes goes past it.
class IDurableTopic
{
public:
    IDurableTopic() = default;
    virtual ~IDurableTopic() = default;
    IDurableTopic(const IDurableTopic&) = delete;
    IDurableTopic& operator=(const IDurableTopic&) = delete;

    using Visitor = std::function<void(Instance, Decision)>;
    /// What others have published since the last call.
    virtual void takeSeen(const Visitor& visit) = 0;
    /// Whether somebody has begun to read since the last call who asks for what was published before.
    virtual bool hasNewReader() = 0;
    /// Whether all readers know the writer: what it writes from then on reaches them.
    virtual bool haveReadersAnswered() = 0;
    /// What is kept elsewhere need no longer be read.
    virtual void endHistory() = 0;
};

} // namespace com::tallowcrest::durability
