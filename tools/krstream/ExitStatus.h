#pragma once

#include "Names.h"

#include <stdexcept>
#include <string>
#include <string_view>

enum class ExitStatus {
    Done = 0,
    /// A name was not found, something was skipped, or a check found something.
    DonePartly = 1,
    Failed = 2,
    /// The password is missing or wrong.
    Password = 4,
    /// Another program has the file open.
    InUse = 5,
    Usage = 64
};

/// Ends the command with a line for the user and an exit status. No line is printed for an empty
/// text.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& line, ExitStatus status = ExitStatus::Failed)
        : std::runtime_error(line), status_(status) {}

    /// `subject` is the file or entry at fault, as bytes; `what` says what is wrong and what to do.
    Failure(std::string_view subject, std::string_view what, ExitStatus status = ExitStatus::Failed)
        : Failure(Printable(subject) + ": " + std::string(what), status) {}

    ExitStatus Status() const { return status_; }

private:
    ExitStatus status_;
};
