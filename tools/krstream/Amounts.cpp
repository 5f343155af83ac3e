#include "Amounts.h"

#include <array>
#include <cstddef>
#include <cstdio>

std::string ReadableSize(std::uint64_t bytes) {
    constexpr std::array<const char*, 6> kUnits = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    // From here on one decimal would round to 1024.0, which is 1.0 of the next unit.
    constexpr double kNext = 1023.95;
    if (bytes < 1024) {
        return std::to_string(bytes) + " B";
    }
    double amount = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (amount >= kNext && unit + 1 < kUnits.size()) {
        amount /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %s", amount, kUnits[unit]);
    return text;
}

std::string Counted(std::uint64_t count, const std::string& one, const std::string& several) {
    return std::to_string(count) + ' ' + (count == 1 ? one : several);
}

std::string Counted(std::uint64_t count, const std::string& one) {
    return Counted(count, one, one + 's');
}
