#pragma once

#include "ProgressLine.h"

#include <chrono>
#include <cstdint>

/// One line on the terminal that says how far the work is. It is there only when standard error is
/// a terminal and the work has lasted over a second, and is gone when the work is done.
class Progress {
public:
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    bool IsShown() const { return onTerminal_; }
    /// Other work begins, of so many bytes; 0 when that is not known.
    void Begin(const char* what, std::uint64_t total);
    void Advance(std::uint64_t bytes);
    /// Removes the line, to make room for a message.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    void Show(Clock::time_point now);

    const bool onTerminal_;
    Work work_;
    Clock::time_point start_;
    Clock::time_point next_;
    bool shown_ = false;
};
