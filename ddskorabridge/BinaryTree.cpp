#include "ddskorabridge/BinaryTree.h"

#include "runtime/misc/Console.h"

#include <algorithm>
#include <span>
#include <stdexcept>

using com::tallowcrest::misc::print;

namespace
{

constexpr std::uint32_t rootIndex = 1;
/// Below this many outputs every output has a leaf of its own; from it on there are about as many leaves.
constexpr std::uint32_t usualNumLeaves = 32;
/// The greatest number of leaves whose nodes can be numbered in 32 bits.
constexpr std::uint32_t maxNumLeaves = 0x40000000;

constexpr std::uint32_t ceilDivide(std::uint32_t dividend, std::uint32_t divisor)
{
    return dividend / divisor + (dividend % divisor != 0 ? 1 : 0);
}

std::uint32_t leavesWanted(std::uint32_t numOutputs, std::uint32_t numOutputsPerLeaf)
{
    if (numOutputsPerLeaf != 0)
    {
        return ceilDivide(numOutputs, numOutputsPerLeaf);
    }
    switch (numOutputs)
    {
    case 73728:
        return 512; // 144 outputs a leaf
    case 2304:
        return 256; // 9 outputs a leaf
    default:
        break;
    }
    return numOutputs >= usualNumLeaves ? ceilDivide(numOutputs, numOutputs / usualNumLeaves) : numOutputs;
}

} // namespace

BinaryTree::BinaryTree(std::uint32_t numOutputs, std::uint32_t numOutputsPerLeaf) : m_numOutputs(numOutputs)
{
    const std::uint32_t numLeaves = leavesWanted(numOutputs, numOutputsPerLeaf);
    if (numLeaves > maxNumLeaves)
    {
        throw std::length_error("BinaryTree: too many leaves");
    }
    if (numLeaves < 2)
    {
        m_numOutputsPerLeaf = numOutputs;
    }
    else
    {
        while (m_firstLeafIndex < numLeaves)
        {
            m_firstLeafIndex *= 2;
        }
        m_numNodes = 2 * m_firstLeafIndex;
        m_numOutputsPerLeaf = ceilDivide(numOutputs, m_firstLeafIndex);
    }
    m_nodes.assign(m_numNodes, 0);
}

bool BinaryTree::isValidOutput(std::uint32_t output) const
{
    if (output < m_numOutputs)
    {
        return true;
    }
    print("BinaryTree::isValidOutput Output %d is out of range [0...%d)\n", static_cast<int>(output),
          static_cast<int>(m_numOutputs));
    return false;
}

void BinaryTree::set(std::uint32_t output, std::uint32_t mask)
{
    for (std::uint32_t node = leafOf(output); node != 0 && (m_nodes[node] & mask) != mask; node /= 2)
    {
        m_nodes[node] |= mask;
    }
}

void BinaryTree::setAll(std::uint32_t mask)
{
    if (m_numOutputs == 0)
    {
        return; // there is no leaf in use
    }
    for (std::uint32_t node = leafOf(m_numOutputs - 1); node >= rootIndex; --node)
    {
        m_nodes[node] |= mask;
    }
}

void BinaryTree::clear(std::uint32_t output, std::uint32_t mask)
{
    if (!isValidOutput(output))
    {
        return;
    }
    std::uint32_t node = leafOf(output);
    m_nodes[node] &= ~mask;
    while (node != rootIndex)
    {
        const std::uint32_t parent = node / 2;
        const std::uint32_t leftChild = 2 * parent;
        if (((m_nodes[leftChild] | m_nodes[leftChild + 1]) & mask) != 0)
        {
            break;
        }
        m_nodes[parent] &= ~mask;
        node = parent;
    }
}

BinaryTree::Range BinaryTree::begin(std::uint32_t mask)
{
    m_connectionMask = mask;
    m_currentNodeIndex = find(rootIndex);
    return currentRange();
}

BinaryTree::Range BinaryTree::next()
{
    std::uint32_t node = m_currentNodeIndex;
    while (node != 0 && (m_nodes[node] & m_connectionMask) == 0)
    {
        node /= 2;
    }
    m_currentNodeIndex = node != 0 ? find(node) : 0;
    return currentRange();
}

std::uint32_t BinaryTree::find(std::uint32_t node) const
{
    // The leaves below a node lie side by side.
    std::uint32_t leaf = node;
    std::uint32_t count = 1;
    for (; leaf < m_firstLeafIndex; leaf *= 2)
    {
        count *= 2;
    }
    const auto leaves = std::span(m_nodes).subspan(leaf, count);
    const auto found = std::find_if(leaves.begin(), leaves.end(),
                                    [this](std::uint32_t bits) { return (bits & m_connectionMask) != 0; });
    return found != leaves.end() ? leaf + static_cast<std::uint32_t>(found - leaves.begin()) : 0;
}

BinaryTree::Range BinaryTree::currentRange() const
{
    Range range;
    if (m_currentNodeIndex >= m_firstLeafIndex)
    {
        range.first = (m_currentNodeIndex - m_firstLeafIndex) * m_numOutputsPerLeaf;
        range.count = std::min(m_numOutputsPerLeaf, m_numOutputs - range.first);
    }
    return range;
}

void BinaryTree::show() const
{
    print("BinaryTree: m_numOutputs %5d, m_currentNodeIndex %d, m_connectionMask 0x%08x m_numOutputsPerLeaf %4d, "
          "m_firstLeafIndex %d, m_numNodes %5d\n",
          static_cast<int>(m_numOutputs), static_cast<int>(m_currentNodeIndex), m_connectionMask,
          static_cast<int>(m_numOutputsPerLeaf), static_cast<int>(m_firstLeafIndex), static_cast<int>(m_numNodes));
}

void BinaryTree::dump() const
{
    print(" BinaryTree\nnode     mask\n---- --------\n");
    for (std::uint32_t node = 0; node < m_numNodes; ++node)
    {
        print("%4d 0x%08x\n", static_cast<int>(node), m_nodes[node]);
    }
}
