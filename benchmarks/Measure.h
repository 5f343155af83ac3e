#pragma once

#include <cstdint>
#include <functional>

/// What a piece of work cost.
struct Sample {
    double seconds = 0;
    /// Bytes handed to the operating system.
    std::uint64_t bytesWritten = 0;
    /// The most memory that the process has ever held, in bytes.
    std::uint64_t peakMemory = 0;
};

Sample Measure(const std::function<void()>& work);
