#include "ddskorabridge/LevelOutputChanges.h"

LevelOutputChanges::LevelOutputChanges(std::uint32_t firstOutput, std::uint32_t numOutputs)
    : m_firstOutput(firstOutput), m_numOutputs(numOutputs), m_tree(numOutputs, 0), m_changeMasks(numOutputs, 0)
{}

void LevelOutputChanges::mark(std::uint32_t output, std::uint32_t mask)
{
    // The difference is compared, because first + count may lie beyond 32 bits.
    if (output < m_firstOutput || output - m_firstOutput >= m_numOutputs)
    {
        return;
    }
    const std::uint32_t index = output - m_firstOutput;
    m_tree.set(index, mask);
    m_changeMasks[index] |= mask;
}

void LevelOutputChanges::markAllForConnection(std::uint32_t connection)
{
    const std::uint32_t mask = connectionMask(connection);
    m_tree.setAll(mask);
    for (std::uint32_t& changeMask : m_changeMasks)
    {
        changeMask |= mask;
    }
}

void LevelOutputChanges::begin(std::uint32_t mask)
{
    m_walkMask = mask;
    enterLeaf(m_tree.begin(mask));
}

void LevelOutputChanges::enterLeaf(const BinaryTree::Range& range)
{
    m_walkIndex = range.first;
    m_walkEnd = range.first + range.count;
}

bool LevelOutputChanges::next(std::uint32_t& output)
{
    while (m_walkEnd != 0)
    {
        while (m_walkIndex < m_walkEnd)
        {
            const std::uint32_t index = m_walkIndex++;
            if ((m_changeMasks[index] & m_walkMask) != 0)
            {
                m_changeMasks[index] &= ~m_walkMask;
                output = m_firstOutput + index;
                return true;
            }
        }
        // The leaf is cleared after its last output was answered, so that an interrupted walk finds the leaf again.
        m_tree.clear(m_walkEnd - 1, m_walkMask);
        enterLeaf(m_tree.next());
    }
    return false;
}
