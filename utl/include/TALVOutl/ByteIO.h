#pragma once

#include <TALVOutl/Export.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

/// \file
/// Integers and byte runs on binary streams, little-endian whatever the machine's byte order.
///
/// Every reader and writer takes a buffer, the number of items in it, and a stream. It answers true
/// when all items went through, false on a failed or short read or write; the stream then has its
/// failbit or badbit set as usual, and after a failed read the contents of the buffer are
/// unspecified. A count of 0 succeeds on a good stream. Nothing is thrown unless the caller armed
/// the stream's own exceptions. The cost is that of the bytes moved; no memory is allocated.
/// Functions may run on any thread, one at a time for one stream.

/// Reads `count` bytes.
TALVOUTL_EXPORT bool ReadBytes(void* buffer, std::size_t count, std::istream& stream);
/// Reads `count` integers of two bytes each.
TALVOUTL_EXPORT bool ReadTwoBytes(std::uint16_t* buffer, std::size_t count, std::istream& stream);
/// Reads `count` integers of four bytes each.
TALVOUTL_EXPORT bool ReadFourBytes(std::uint32_t* buffer, std::size_t count, std::istream& stream);
/// Reads `count` integers of eight bytes each.
TALVOUTL_EXPORT bool ReadEightBytes(std::uint64_t* buffer, std::size_t count, std::istream& stream);

/// Writes `count` bytes.
TALVOUTL_EXPORT bool WriteBytes(const void* buffer, std::size_t count, std::ostream& stream);
/// Writes `count` integers of two bytes each.
TALVOUTL_EXPORT bool WriteTwoBytes(const std::uint16_t* buffer, std::size_t count,
                                   std::ostream& stream);
/// Writes `count` integers of four bytes each.
TALVOUTL_EXPORT bool WriteFourBytes(const std::uint32_t* buffer, std::size_t count,
                                    std::ostream& stream);
/// Writes `count` integers of eight bytes each.
TALVOUTL_EXPORT bool WriteEightBytes(const std::uint64_t* buffer, std::size_t count,
                                     std::ostream& stream);

/// Reads an ASCII binary string: its length as a 4-byte unsigned integer, then its bytes (any
/// bytes, NUL included). False when the stream ends early; `text` is then unchanged. Memory grows
/// with the bytes that the stream delivers, never with the length that it promises.
TALVOUTL_EXPORT bool ReadASCIIBinaryString(std::string& text, std::istream& stream);

/// Writes `text` as an ASCII binary string. False when the stream fails, or, with nothing written,
/// when `text` is longer than the 4-byte length can say.
TALVOUTL_EXPORT bool WriteASCIIBinaryString(const std::string& text, std::ostream& stream);
