#pragma once

#include <dds/dds.h>

#include <string>

namespace dds::detail
{

/// Returns `code` when it is not negative; otherwise throws the exception of the code, whose text is
/// "<call>: <the code's own text>", with `hint` after it when there is one.
dds_return_t check(dds_return_t code, const std::string& call, const std::string& hint = {});

/// Writes an error into the DDS library's own log: for places from which no exception may leave. Never throws.
void reportError(const char* what, const char* text) noexcept;

/// Owns one entity of the DDS library from its creation to its deletion. Thread-safe to use, as the library is. A
/// class that holds one declares it after whatever the entity needs to live, so that the entity goes first.
class Entity
{
public:
    /// Takes a handle that creation returned and has been checked.
    explicit Entity(dds_entity_t handle) : m_handle(handle) {}
    /// Deletes the entity; a refusal is reported in the DDS library's own log.
    ~Entity();
    Entity(const Entity&) = delete;
    Entity& operator=(const Entity&) = delete;

    dds_entity_t handle() const { return m_handle; }

private:
    dds_entity_t m_handle;
};

} // namespace dds::detail
