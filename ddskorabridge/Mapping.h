#pragma once

#include <cstdint>
#include <optional>

/// The seven numbers that describe a level's blocks.
struct MappingNumbers
{
    std::uint32_t numXptsPer = 1; ///< macro crosspoints per controller number, never 0
    std::uint32_t xptInputStart = 0;
    std::uint32_t numXptInputs = 0; ///< in macro crosspoints
    std::uint32_t controllerInputStart = 0;
    std::uint32_t xptOutputStart = 0;
    std::uint32_t numXptOutputs = 0; ///< in macro crosspoints
    std::uint32_t controllerOutputStart = 0;

    bool operator==(const MappingNumbers&) const = default;
};

/// The arithmetic of one level: blocks of controller numbers onto blocks of macro crosspoints and back. An empty result
/// means that the number is outside its block, or that the other side's number would not fit in 32 bits. A constant
/// value; any thread.
class Mapping
{
public:
    explicit Mapping(const MappingNumbers& numbers);
    virtual ~Mapping() = default;
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    std::optional<std::uint32_t> controllerInputToXpt(std::uint32_t controllerInput) const;
    std::optional<std::uint32_t> controllerOutputToXpt(std::uint32_t controllerOutput) const;
    std::optional<std::uint32_t> xptInputToController(std::uint32_t xptInput) const;
    std::optional<std::uint32_t> xptOutputToController(std::uint32_t xptOutput) const;

    bool isValidControllerInput(std::uint32_t controllerInput) const;
    bool isValidControllerOutput(std::uint32_t controllerOutput) const;

    std::uint32_t numXptsPer() const { return m_numbers.numXptsPer; }
    const MappingNumbers& numbers() const { return m_numbers; }

private:
    const MappingNumbers m_numbers;
};
