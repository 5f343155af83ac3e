#include "Progress.h"

#include "Descriptor.h"

#include <cstdio>

#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr auto kQuietTime = 1s;
constexpr auto kInterval = 100ms;

} // namespace

Progress::Progress() : onTerminal_(isatty(STDERR_FILENO) != 0) {
    Begin("working", 0);
}

Progress::~Progress() {
    Clear();
}

void Progress::Begin(const char* what, std::uint64_t total) {
    Clear();
    work_ = {what, 0, total};
    start_ = Clock::now();
    // Rates of the first moments say nothing, also when other work has gone before.
    next_ = start_ + kQuietTime;
}

void Progress::Advance(std::uint64_t bytes) {
    work_.done += bytes;
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
    work_.seconds = std::chrono::duration<double>(now - start_).count();
    const std::string line = ProgressLine(work_, TerminalColumns(STDERR_FILENO));
    std::fprintf(stderr, "\r%s\x1b[K", line.c_str());
    shown_ = true;
}

void Progress::Clear() {
    if (shown_) {
        std::fputs("\r\x1b[K", stderr);
        shown_ = false;
    }
}
