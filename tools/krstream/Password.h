#pragma once

#include <string>
#include <utility>

/// Where a command takes a password from: the first line of a file, of standard input ("-"), or,
/// without a file, the terminal. Failure to get one, or an empty one, is a Failure of status
/// Password.
class PasswordSource {
public:
    explicit PasswordSource(std::string file) : file_(std::move(file)) {}

    /// The password that `path` has.
    std::string Current(const std::string& path) const;
    /// The password that `path` gets; asked for twice at the terminal.
    std::string New(const std::string& path) const;

private:
    std::string FirstLineOfFile() const;

    std::string file_;
};
