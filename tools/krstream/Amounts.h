#pragma once

#include <cstdint>
#include <string>

/// A number of bytes as people read it: "312 B", "1.2 MiB".
std::string ReadableSize(std::uint64_t bytes);

/// A number and what it counts: "1 block", "3 blocks", "2 entries".
std::string Counted(std::uint64_t count, const std::string& one, const std::string& several);
std::string Counted(std::uint64_t count, const std::string& one);
