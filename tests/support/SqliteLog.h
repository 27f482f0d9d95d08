#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// The write-ahead log of a SQLite database, as bytes: a header, then frames of a header and a page each. Numbers are
/// 32 bits wide, the highest byte first.
namespace testsupport::sqliteLog
{

inline constexpr std::size_t headerBytes = 32;
inline constexpr std::size_t frameHeaderBytes = 24;
/// In a frame's header: how many pages the database has, when the frame ends a transaction; else 0.
inline constexpr std::size_t pageCountOffset = 4;
/// In the log's header.
inline constexpr std::size_t pageBytesOffset = 8;

std::uint32_t wordAt(std::span<const std::uint8_t> bytes, std::size_t at);
void setWord(std::span<std::uint8_t> bytes, std::size_t at, std::uint32_t word);

/// Makes version, page size, salts and checksums such that SQLite believes the log; without that it ignores a log from
/// the first frame on that has been changed.
void repair(std::span<std::uint8_t> log);

} // namespace testsupport::sqliteLog
