#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>

namespace koraclient
{

/// Why received bytes are not the wanted response.
struct Fault
{
    std::string text;             ///< a readable sentence that says what came
    bool isErrorResponse = false; ///< a proper error response came, with `errorCode`
    std::uint32_t errorCode = 0;
};

/// Either a decoded value or the fault that prevented it. Decoders return it; nothing they read makes them throw.
template <class T>
class Decoded
{
public:
    Decoded(T value) : m_content(std::in_place_index<0>, std::move(value)) {}
    Decoded(Fault fault) : m_content(std::in_place_index<1>, std::move(fault)) {}

    bool isOk() const { return m_content.index() == 0; }
    /// Only when `isOk()`.
    const T& value() const& { return std::get<0>(m_content); }
    T&& value() && { return std::get<0>(std::move(m_content)); }
    /// Only when not `isOk()`.
    const Fault& fault() const { return std::get<1>(m_content); }

private:
    std::variant<T, Fault> m_content;
};

} // namespace koraclient
