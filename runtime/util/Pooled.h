#pragma once

#include "runtime/util/MemPool.h"

#include <cstddef>

namespace com::tallowcrest::util
{

/// Puts a class into a memory pool of its own:
///
///     class TakeCmd final : public Pooled<TakeCmd, CmdBase>
///     {
///     public:
///         static constexpr const char* poolName = "TakeCmd";
///
/// `Self` must declare `poolName`. The pool is created during static initialisation, as it is used by the class's own
/// `new`. When the pool has no buffer to give, the object comes from the heap instead, so that `new` fails only when
/// the machine has no memory at all (std::bad_alloc). Thread-safe.
template <typename Self, typename Base>
class Pooled : public Base
{
public:
    using Base::Base;

    static void* operator new(std::size_t size);
    static void operator delete(void* object) noexcept;

    static MemPool& pool();
};

} // namespace com::tallowcrest::util
