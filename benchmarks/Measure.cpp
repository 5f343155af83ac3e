#include "benchmarks/Measure.h"

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

/// The number behind `key` in one of the kernel's texts about this process.
std::uint64_t NumberIn(const char* file, const std::string& key) {
    std::ifstream text(file);
    std::string word;
    std::uint64_t number = 0;
    while (text >> word) {
        if (word == key && text >> number) {
            return number;
        }
    }
    throw std::runtime_error(std::string(file) + " does not tell " + key);
}

std::uint64_t BytesWrittenSoFar() {
    return NumberIn("/proc/self/io", "wchar:");
}

} // namespace

Sample Measure(const std::function<void()>& work) {
    const std::uint64_t writtenBefore = BytesWrittenSoFar();
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    Sample sample;
    sample.seconds = elapsed.count();
    sample.bytesWritten = BytesWrittenSoFar() - writtenBefore;
    // The high-water mark of this program image; the one of getrusage would begin with the
    // parent's.
    sample.peakMemory = NumberIn("/proc/self/status", "VmHWM:") * 1024;
    return sample;
}
