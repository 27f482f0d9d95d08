#include "ddskorabridge/Mapping.h"

#include <cassert>
#include <limits>

namespace
{

/// One side's block and where it lies on the other side.
struct Block
{
    std::uint32_t controllerStart = 0;
    std::uint32_t xptStart = 0;
    std::uint32_t numXpts = 0;
    std::uint32_t numXptsPer = 1;
};

/// True when start <= number < start + count; the difference is compared, because the sum may not fit in 32 bits.
bool isInBlock(std::uint32_t number, std::uint32_t start, std::uint32_t count)
{
    return number >= start && number - start < count;
}

std::optional<std::uint32_t> sum(std::uint32_t start, std::uint64_t offset)
{
    if (offset > std::numeric_limits<std::uint32_t>::max() - start)
    {
        return std::nullopt;
    }
    return start + static_cast<std::uint32_t>(offset);
}

/// Nearly every level has one crosspoint per number, and a division costs more than all the rest.
std::uint32_t divide(std::uint32_t xpts, std::uint32_t numXptsPer)
{
    return numXptsPer == 1 ? xpts : xpts / numXptsPer;
}

std::optional<std::uint32_t> toXpt(std::uint32_t controller, const Block& block)
{
    if (!isInBlock(controller, block.controllerStart, divide(block.numXpts, block.numXptsPer)))
    {
        return std::nullopt;
    }
    return sum(block.xptStart, std::uint64_t{block.numXptsPer} * (controller - block.controllerStart));
}

std::optional<std::uint32_t> toController(std::uint32_t xpt, const Block& block)
{
    if (!isInBlock(xpt, block.xptStart, block.numXpts))
    {
        return std::nullopt;
    }
    return sum(block.controllerStart, divide(xpt - block.xptStart, block.numXptsPer));
}

Block inputs(const MappingNumbers& numbers)
{
    return {numbers.controllerInputStart, numbers.xptInputStart, numbers.numXptInputs, numbers.numXptsPer};
}

Block outputs(const MappingNumbers& numbers)
{
    return {numbers.controllerOutputStart, numbers.xptOutputStart, numbers.numXptOutputs, numbers.numXptsPer};
}

} // namespace

Mapping::Mapping(const MappingNumbers& numbers) : m_numbers(numbers)
{
    assert(numbers.numXptsPer != 0);
}

std::optional<std::uint32_t> Mapping::controllerInputToXpt(std::uint32_t controllerInput) const
{
    return toXpt(controllerInput, inputs(m_numbers));
}

std::optional<std::uint32_t> Mapping::controllerOutputToXpt(std::uint32_t controllerOutput) const
{
    return toXpt(controllerOutput, outputs(m_numbers));
}

std::optional<std::uint32_t> Mapping::xptInputToController(std::uint32_t xptInput) const
{
    return toController(xptInput, inputs(m_numbers));
}

std::optional<std::uint32_t> Mapping::xptOutputToController(std::uint32_t xptOutput) const
{
    return toController(xptOutput, outputs(m_numbers));
}

bool Mapping::isValidControllerInput(std::uint32_t controllerInput) const
{
    return controllerInputToXpt(controllerInput).has_value();
}

bool Mapping::isValidControllerOutput(std::uint32_t controllerOutput) const
{
    return controllerOutputToXpt(controllerOutput).has_value();
}
