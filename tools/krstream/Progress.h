#pragma once

#include <chrono>
#include <cstdint>

/// One line on the terminal that says how many bytes are done and how fast. It is there only when
/// standard error is a terminal and the work has lasted over a second, and is gone when the work is
/// done.
class Progress {
public:
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void Advance(std::uint64_t bytes);
    /// Removes the line, to make room for a message.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    void Show(Clock::time_point now);

    const bool onTerminal_;
    const Clock::time_point start_;
    Clock::time_point next_;
    std::uint64_t bytes_ = 0;
    bool shown_ = false;
};
