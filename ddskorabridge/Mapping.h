#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <limits>
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

/// A block of controller numbers and the block of macro crosspoints that it stands for, `numXptsPer` for each number.
/// An empty result means that the number is outside its block, or that the other side's number would not fit in 32
/// bits. How many numbers have a counterpart is found out once, so that each costs one comparison and one addition.
class NumberBlock
{
public:
    /// `numXptsPer` is not 0.
    NumberBlock(std::uint32_t controllerStart, std::uint32_t xptStart, std::uint32_t numXpts, std::uint32_t numXptsPer)
        : m_controllerStart(controllerStart), m_xptStart(xptStart), m_numXptsPer(numXptsPer),
          m_controllers(static_cast<std::uint32_t>(std::min<std::uint64_t>(
              {numXpts / numXptsPer, numbers - controllerStart, (numbers - 1 - xptStart) / numXptsPer + 1}))),
          m_xpts(static_cast<std::uint32_t>(
              std::min<std::uint64_t>({numXpts, numbers - xptStart, (numbers - controllerStart) * numXptsPer}))),
          m_isOneToOne(numXptsPer == 1)
    {}

    std::optional<std::uint32_t> toXpt(std::uint32_t controller) const
    {
        const std::uint32_t offset = controller - m_controllerStart; // below the start it is beyond every count
        return offset < m_controllers ? std::optional(m_xptStart + offset * m_numXptsPer) : std::nullopt;
    }
    std::optional<std::uint32_t> toController(std::uint32_t xpt) const
    {
        const std::uint32_t offset = xpt - m_xptStart;
        // Nearly every level has one crosspoint for each number, and a division costs more than all the rest.
        return offset < m_xpts ? std::optional(m_controllerStart + (m_isOneToOne ? offset : offset / m_numXptsPer))
                               : std::nullopt;
    }
    /// Whether `toController` has a result.
    bool hasController(std::uint32_t xpt) const { return xpt - m_xptStart < m_xpts; }
    /// With one crosspoint for each number: what added to a crosspoint that has a controller number makes that number;
    /// sums wrap as unsigned ones do.
    std::uint32_t shiftToController() const { return m_controllerStart - m_xptStart; }
    /// How many consecutive numbers have crosspoints, beginning with `controller`; 0 when it has none.
    std::uint32_t controllersFrom(std::uint32_t controller) const
    {
        return m_controllers - std::min(m_controllers, controller - m_controllerStart);
    }

private:
    static constexpr std::uint64_t numbers = std::uint64_t{std::numeric_limits<std::uint32_t>::max()} + 1;

    std::uint32_t m_controllerStart;
    std::uint32_t m_xptStart;
    std::uint32_t m_numXptsPer;
    std::uint32_t m_controllers; ///< those that have crosspoints
    std::uint32_t m_xpts;        ///< those that have a controller number
    bool m_isOneToOne;
};

/// The arithmetic of one level: its inputs and its outputs, controller numbers onto macro crosspoints and back. A
/// constant value; any thread.
class Mapping
{
public:
    explicit Mapping(const MappingNumbers& numbers)
        : m_numbers(numbers), m_inputs(numbers.controllerInputStart, numbers.xptInputStart, numbers.numXptInputs,
                                       checked(numbers.numXptsPer)),
          m_outputs(numbers.controllerOutputStart, numbers.xptOutputStart, numbers.numXptOutputs, numbers.numXptsPer)
    {}
    virtual ~Mapping() = default;
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    std::optional<std::uint32_t> controllerInputToXpt(std::uint32_t controllerInput) const
    {
        return m_inputs.toXpt(controllerInput);
    }
    std::optional<std::uint32_t> controllerOutputToXpt(std::uint32_t controllerOutput) const
    {
        return m_outputs.toXpt(controllerOutput);
    }
    std::optional<std::uint32_t> xptInputToController(std::uint32_t xptInput) const
    {
        return m_inputs.toController(xptInput);
    }
    std::optional<std::uint32_t> xptOutputToController(std::uint32_t xptOutput) const
    {
        return m_outputs.toController(xptOutput);
    }

    bool isValidControllerInput(std::uint32_t controllerInput) const
    {
        return controllerInputToXpt(controllerInput).has_value();
    }
    bool isValidControllerOutput(std::uint32_t controllerOutput) const
    {
        return controllerOutputToXpt(controllerOutput).has_value();
    }

    std::uint32_t numXptsPer() const { return m_numbers.numXptsPer; }
    const MappingNumbers& numbers() const { return m_numbers; }
    const NumberBlock& inputs() const { return m_inputs; }
    const NumberBlock& outputs() const { return m_outputs; }

private:
    static std::uint32_t checked(std::uint32_t numXptsPer)
    {
        assert(numXptsPer != 0);
        return numXptsPer;
    }

    const MappingNumbers m_numbers;
    const NumberBlock m_inputs;
    const NumberBlock m_outputs;
};
