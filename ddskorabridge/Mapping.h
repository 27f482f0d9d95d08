#pragma once

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

/// The arithmetic of one level: blocks of controller numbers onto blocks of macro crosspoints and back. An empty result
/// means that the number is outside its block, or that the other side's number would not fit in 32 bits. A constant
/// value; any thread.
class Mapping
{
public:
    explicit Mapping(const MappingNumbers& numbers) : m_numbers(numbers) { assert(numbers.numXptsPer != 0); }
    virtual ~Mapping() = default;
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    std::optional<std::uint32_t> controllerInputToXpt(std::uint32_t controllerInput) const
    {
        return toXpt(controllerInput, inputs());
    }
    std::optional<std::uint32_t> controllerOutputToXpt(std::uint32_t controllerOutput) const
    {
        return toXpt(controllerOutput, outputs());
    }
    std::optional<std::uint32_t> xptInputToController(std::uint32_t xptInput) const
    {
        return toController(xptInput, inputs());
    }
    std::optional<std::uint32_t> xptOutputToController(std::uint32_t xptOutput) const
    {
        return toController(xptOutput, outputs());
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

private:
    // Here, and not in a file of their own, because a query of a whole level asks twice for each output.

    /// One side's block and where it lies on the other side.
    struct Block
    {
        std::uint32_t controllerStart = 0;
        std::uint32_t xptStart = 0;
        std::uint32_t numXpts = 0;
        std::uint32_t numXptsPer = 1;
    };

    Block inputs() const
    {
        return {m_numbers.controllerInputStart, m_numbers.xptInputStart, m_numbers.numXptInputs, m_numbers.numXptsPer};
    }
    Block outputs() const
    {
        return {m_numbers.controllerOutputStart, m_numbers.xptOutputStart, m_numbers.numXptOutputs,
                m_numbers.numXptsPer};
    }

    /// True when start <= number < start + count; the difference is compared, because the sum may not fit in 32 bits.
    static bool isInBlock(std::uint32_t number, std::uint32_t start, std::uint32_t count)
    {
        return number >= start && number - start < count;
    }

    static std::optional<std::uint32_t> sum(std::uint32_t start, std::uint64_t offset)
    {
        if (offset > std::numeric_limits<std::uint32_t>::max() - start)
        {
            return std::nullopt;
        }
        return start + static_cast<std::uint32_t>(offset);
    }

    /// Nearly every level has one crosspoint per number, and a division costs more than all the rest.
    static std::uint32_t divide(std::uint32_t xpts, std::uint32_t numXptsPer)
    {
        return numXptsPer == 1 ? xpts : xpts / numXptsPer;
    }

    static std::optional<std::uint32_t> toXpt(std::uint32_t controller, const Block& block)
    {
        if (!isInBlock(controller, block.controllerStart, divide(block.numXpts, block.numXptsPer)))
        {
            return std::nullopt;
        }
        return sum(block.xptStart, std::uint64_t{block.numXptsPer} * (controller - block.controllerStart));
    }

    static std::optional<std::uint32_t> toController(std::uint32_t xpt, const Block& block)
    {
        if (!isInBlock(xpt, block.xptStart, block.numXpts))
        {
            return std::nullopt;
        }
        return sum(block.controllerStart, divide(xpt - block.xptStart, block.numXptsPer));
    }

    const MappingNumbers m_numbers;
};
