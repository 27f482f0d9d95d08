#pragma once

#include "ddskorabridge/BinaryTree.h"

#include <cstdint>
#include <vector>

/// Remembers for each of 16 connections which outputs of a level changed since that connection last asked. Connection n
/// owns bit n (source changed) and bit n + 16 (holder or lock state changed) of every output's mask. Output numbers are
/// controller output numbers. Owned by one level; apartment-bound, so that a walk and the marks never interleave inside
/// one command. Allocates in the constructor only.
class LevelOutputChanges
{
public:
    static constexpr std::uint32_t maxConnections = 16;
    static constexpr std::uint32_t sourceMask = 0x0000FFFF; ///< lower half, all connections
    static constexpr std::uint32_t lprMask = 0xFFFF0000;    ///< upper half, all connections

    LevelOutputChanges(std::uint32_t firstOutput, std::uint32_t numOutputs);
    virtual ~LevelOutputChanges() = default;
    LevelOutputChanges(const LevelOutputChanges&) = delete;
    LevelOutputChanges& operator=(const LevelOutputChanges&) = delete;

    /// Marks one output for all connections; outputs outside the level are ignored.
    void noteSourceChange(std::uint32_t output) { mark(output, sourceMask); }
    void noteLprChange(std::uint32_t output) { mark(output, lprMask); }

    /// Marks every output for one connection, which so first sees the whole level.
    void markAllForConnection(std::uint32_t connection);

    /// Start a walk for one connection (0 to 15, others find nothing) over every change, or over one half alone.
    void beginOutputChanges(std::uint32_t connection) { begin(connectionMask(connection)); }
    void beginSourceChanges(std::uint32_t connection) { begin(connectionMask(connection) & sourceMask); }
    void beginLprChanges(std::uint32_t connection) { begin(connectionMask(connection) & lprMask); }

    /// The next changed output of the walk, in ascending order; its bits of the walk are consumed. False at the end.
    bool next(std::uint32_t& output);

private:
    /// Both bits of a connection; no bit for a connection that does not exist.
    static constexpr std::uint32_t connectionMask(std::uint32_t connection)
    {
        return connection < maxConnections ? 0x10001U << connection : 0;
    }

    void mark(std::uint32_t output, std::uint32_t mask);
    void begin(std::uint32_t mask);
    void enterLeaf(const BinaryTree::Range& range);

    std::uint32_t m_firstOutput = 0;
    std::uint32_t m_numOutputs = 0;
    BinaryTree m_tree;
    std::vector<std::uint32_t> m_changeMasks;
    std::uint32_t m_walkMask = 0;
    std::uint32_t m_walkIndex = 0; ///< next index to look at
    std::uint32_t m_walkEnd = 0;   ///< end of the current leaf, 0 when there is no walk
};
