#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Work that takes a while.
struct Work {
    /// What is being done: "reading".
    std::string what;
    std::uint64_t done = 0;
    /// 0 when nobody knows.
    std::uint64_t total = 0;
    double seconds = 0;
};

/// How far the work is, how fast it goes and how long it will take, in a line of fewer than
/// `columns` characters, with a bar when there is room for one.
std::string ProgressLine(const Work& work, std::size_t columns);
