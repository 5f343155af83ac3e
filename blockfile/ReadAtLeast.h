#pragma once

#include <cstddef>
#include <cstdint>

/// Reads up to `most` bytes of a file from `offset` on. A call that does less than it was asked, as
/// after a signal or on a network's file system, is followed by others until there are `least`.
/// Returns how many there were before the end or an error.
std::size_t ReadAtLeast(int descriptor, std::uint64_t offset, unsigned char* bytes,
                        std::size_t least, std::size_t most);
