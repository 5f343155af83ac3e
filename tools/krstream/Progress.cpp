#include "Progress.h"

#include <cstdio>

#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr auto kQuietTime = 1s;
constexpr auto kInterval = 100ms;
constexpr double kMegabyte = 1e6;

} // namespace

Progress::Progress()
    : onTerminal_(isatty(STDERR_FILENO) != 0), start_(Clock::now()), next_(start_ + kQuietTime) {}

Progress::~Progress() {
    Clear();
}

void Progress::Advance(std::uint64_t bytes) {
    bytes_ += bytes;
    if (!onTerminal_) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now >= next_) {
        next_ = now + kInterval;
        Show(now);
    }
}

void Progress::Show(Clock::time_point now) {
    const double megabytes = static_cast<double>(bytes_) / kMegabyte;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    std::fprintf(stderr, "\r%.1f MB, %.1f MB/s\x1b[K", megabytes, megabytes / seconds);
    shown_ = true;
}

void Progress::Clear() {
    if (shown_) {
        std::fputs("\r\x1b[K", stderr);
        shown_ = false;
    }
}
