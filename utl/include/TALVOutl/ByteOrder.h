#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

/// \file
/// Unsigned integers as little-endian bytes in memory, whatever the byte order of the machine.
/// Compilers turn each function into a single move on little-endian machines. Any thread.

/// \cond
/// The bytes are named one by one, not in a loop: of a loop, compilers make no single move.
namespace ByteOrderDetail {

template <typename Integer, std::size_t... Index>
Integer Join(const unsigned char* bytes, std::index_sequence<Index...>) {
    return static_cast<Integer>((... | (static_cast<Integer>(bytes[Index]) << (8 * Index))));
}

template <typename Integer, std::size_t... Index>
void Split(unsigned char* bytes, Integer value, std::index_sequence<Index...>) {
    ((bytes[Index] = static_cast<unsigned char>(value >> (8 * Index))), ...);
}

} // namespace ByteOrderDetail
/// \endcond

/// The integer whose little-endian bytes begin at `bytes`; sizeof(Integer) bytes are read.
template <typename Integer>
Integer LoadLittleEndian(const unsigned char* bytes) {
    static_assert(std::is_unsigned_v<Integer>, "the formats hold unsigned integers only");
    return ByteOrderDetail::Join<Integer>(bytes, std::make_index_sequence<sizeof(Integer)>());
}

/// Writes `value` as sizeof(Integer) little-endian bytes, beginning at `bytes`.
template <typename Integer>
void StoreLittleEndian(unsigned char* bytes, Integer value) {
    static_assert(std::is_unsigned_v<Integer>, "the formats hold unsigned integers only");
    ByteOrderDetail::Split(bytes, value, std::make_index_sequence<sizeof(Integer)>());
}
