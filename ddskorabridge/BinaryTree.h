#pragma once

#include <cstdint>
#include <vector>

/// A summary of the change masks of a level's outputs: a complete binary tree whose leaves each cover a block of
/// outputs and whose inner nodes hold the OR of the bits below them, so that a walk skips unchanged blocks. Node 1 is
/// the root, node k has the children 2k and 2k + 1, node 0 stays 0. Output numbers are 0-based within the tree. Owned
/// by one LevelOutputChanges and used on its thread; allocates in the constructor only.
class BinaryTree
{
public:
    /// A run of outputs; a count of 0 means that the walk is over.
    struct Range
    {
        std::uint32_t first = 0;
        std::uint32_t count = 0;
    };

    /// With `numOutputsPerLeaf` 0 the tree chooses its own number of leaves: 512 for 73728 outputs, 256 for 2304, about
    /// 32 otherwise. Throws std::length_error when the nodes cannot be numbered in 32 bits.
    BinaryTree(std::uint32_t numOutputs, std::uint32_t numOutputsPerLeaf);
    virtual ~BinaryTree() = default;
    BinaryTree(const BinaryTree&) = delete;
    BinaryTree& operator=(const BinaryTree&) = delete;

    /// False for an output outside the tree, which is reported on the console.
    bool isValidOutput(std::uint32_t output) const;

    /// Marks the leaf of `output` and its ancestors. `output` must be inside the tree.
    void set(std::uint32_t output, std::uint32_t mask);
    /// Marks every leaf in use and every inner node.
    void setAll(std::uint32_t mask);
    /// Clears the leaf of `output`, and each ancestor below which no bit of `mask` stands any more.
    void clear(std::uint32_t output, std::uint32_t mask);

    /// Starts a walk over the leaves that hold any bit of `mask`; returns the outputs of the first one.
    Range begin(std::uint32_t mask);
    /// The outputs of the next leaf of the walk. The caller clears a leaf before it goes on, or gets it again.
    Range next();

    /// Prints the numbers of the tree and of its walk to the console.
    void show() const;
    /// Prints every node to the console.
    void dump() const;

    std::uint32_t numOutputsPerLeaf() const { return m_numOutputsPerLeaf; }
    std::uint32_t firstLeafIndex() const { return m_firstLeafIndex; }
    std::uint32_t numNodes() const { return m_numNodes; }
    std::uint32_t node(std::uint32_t index) const { return m_nodes.at(index); }

private:
    std::uint32_t leafOf(std::uint32_t output) const { return output / m_numOutputsPerLeaf + m_firstLeafIndex; }
    /// The first leaf below `node`, or itself, that holds a bit of the walk's mask, or 0. Inner nodes are not tested.
    std::uint32_t find(std::uint32_t node) const;
    Range currentRange() const;

    std::uint32_t m_numOutputs = 0;
    std::uint32_t m_currentNodeIndex = 0; ///< leaf on which the walk stands, 0 when it is finished
    std::uint32_t m_connectionMask = 0;   ///< bits that the walk looks for
    std::uint32_t m_numOutputsPerLeaf = 0;
    std::uint32_t m_firstLeafIndex = 1; ///< a power of two
    std::uint32_t m_numNodes = 2;
    std::vector<std::uint32_t> m_nodes;
};
