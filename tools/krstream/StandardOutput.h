#pragma once

#include <string>
#include <string_view>

/// Buffered standard output that notices when it cannot be written.
class StandardOutput {
public:
    StandardOutput();

    /// Throws Failure when standard output cannot be written; one without text when its reader has
    /// gone.
    void Write(std::string_view data);
    /// Writes what is still in the buffer. Throws as Write does.
    void Flush();

    bool IsTerminal() const { return isTerminal_; }
    /// A name in the form that suits: safe on a terminal, its bytes elsewhere.
    std::string Shown(std::string_view name) const;

private:
    const bool isTerminal_;
    std::string buffer_;
};
