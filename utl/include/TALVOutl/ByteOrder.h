#pragma once

#include <cstddef>
#include <type_traits>

/// Unsigned integers as little-endian bytes in memory, whatever the byte order of the machine.
/// Compilers turn each function into a single move on little-endian machines. Any thread.

/// The integer whose little-endian bytes begin at `bytes`; sizeof(Integer) bytes are read.
template <typename Integer>
Integer LoadLittleEndian(const unsigned char* bytes) {
    static_assert(std::is_unsigned_v<Integer>, "the formats hold unsigned integers only");
    Integer value = 0;
    for (std::size_t i = 0; i < sizeof(Integer); ++i) {
        value = static_cast<Integer>(value | static_cast<Integer>(bytes[i]) << (8 * i));
    }
    return value;
}

/// Writes `value` as sizeof(Integer) little-endian bytes, beginning at `bytes`.
template <typename Integer>
void StoreLittleEndian(unsigned char* bytes, Integer value) {
    static_assert(std::is_unsigned_v<Integer>, "the formats hold unsigned integers only");
    for (std::size_t i = 0; i < sizeof(Integer); ++i) {
        bytes[i] = static_cast<unsigned char>(value >> (8 * i));
    }
}
