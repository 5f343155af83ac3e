#include "ProgressLine.h"

#include "Amounts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr std::size_t kLongestBar = 40;
constexpr std::size_t kShortestBar = 10;

/// "0:07", "12:34", "1:02:03".
std::string Duration(double seconds) {
    // A stalled disk makes any number of days.
    constexpr double kLongest = 99.0 * 3600;
    const auto whole = static_cast<unsigned>(std::lround(std::min(seconds, kLongest)));
    char text[32];
    if (whole < 3600) {
        std::snprintf(text, sizeof text, "%u:%02u", whole / 60, whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%u:%02u:%02u", whole / 3600, whole / 60 % 60, whole % 60);
    }
    return text;
}

std::string Rate(const Work& work) {
    return ReadableSize(static_cast<std::uint64_t>(static_cast<double>(work.done) / work.seconds)) +
           "/s";
}

std::string Amount(const Work& work, double share) {
    std::string text =
        ReadableSize(work.done) + " of " + ReadableSize(work.total) + ", " + Rate(work);
    if (share > 0 && share < 1) {
        text += ", " + Duration(work.seconds / share - work.seconds) + " left";
    }
    return text;
}

std::string Bar(double share, std::size_t room) {
    if (room < kShortestBar + 3) {
        return "";
    }
    const std::size_t length = std::min(room - 3, kLongestBar);
    const auto full = static_cast<std::size_t>(share * static_cast<double>(length));
    return '[' + std::string(full, '#') + std::string(length - full, '.') + "] ";
}

} // namespace

std::string ProgressLine(const Work& work, std::size_t columns) {
    std::string line = work.what + ' ';
    if (work.total == 0) {
        line += ReadableSize(work.done) + ", " + Rate(work);
    } else {
        // A file that grows while it is read is more than was expected.
        const double share =
            std::min(1.0, static_cast<double>(work.done) / static_cast<double>(work.total));
        char percent[8];
        std::snprintf(percent, sizeof percent, "%3u%% ", static_cast<unsigned>(share * 100));
        const std::string rest = percent + Amount(work, share);
        const std::size_t taken = line.size() + rest.size();
        // The last column stays empty, so that no terminal begins a new line.
        line += Bar(share, columns - std::min(columns, taken + 1)) + rest;
    }
    return line.substr(0, columns - std::min<std::size_t>(columns, 1));
}
