#include "ddskorabridge/Mapping.h"

#include <cassert>

Mapping::Mapping(const MappingNumbers& numbers) : m_numbers(numbers)
{
    assert(numbers.numXptsPer != 0);
}
