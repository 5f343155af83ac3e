#pragma once

#include "ExitStatus.h"
#include "Progress.h"

#include <cstdint>
#include <string>
#include <string_view>

/// Writes one line to standard error.
void PrintMessage(const std::string& line);

/// What a command over many entries tells its user, and what it comes to in the end. `subject` is
/// the file or entry that a line is about, as bytes.
class Report {
public:
    /// Something worth knowing that changes nothing.
    void Note(std::string_view subject, std::string_view what);
    /// Left out on purpose or not found.
    void Skip(std::string_view subject, std::string_view what);
    /// Tried without success.
    void Fail(std::string_view subject, std::string_view what);

    void CountDone() { anyDone_ = true; }
    bool ShowsProgress() const { return progress_.IsShown(); }
    /// Work begins that may take long, over so many bytes; 0 when that is not known.
    void Begin(const char* what, std::uint64_t total) { progress_.Begin(what, total); }
    /// Work goes on: bytes were copied.
    void Advance(std::uint64_t bytes);

    /// Failed when all that was tried failed, DonePartly when something was skipped or failed, else
    /// Done.
    ExitStatus Status() const;

private:
    Progress progress_;
    bool anyDone_ = false;
    bool anySkipped_ = false;
    bool anyFailed_ = false;
};
