#pragma once

#include <string>
#include <vector>

struct Example {
    const char* purpose;
    /// A line for a shell, in a folder with the files that it names.
    const char* line;
};

/// What help and manual page say of a command beside its options.
struct CommandText {
    const char* name;
    std::vector<const char*> aliases;
    /// Heading under which commands that belong together are listed.
    const char* group;
    const char* summary;
    /// Lines of at most 74 characters; where they break means nothing.
    const char* details;
    std::vector<Example> examples;

    /// Name and aliases with `between` between them.
    std::string Names(const std::string& between) const;
};

/// All commands, those of a group side by side.
const std::vector<CommandText>& CommandTexts();

/// The text of one of them.
const CommandText& TextOf(const std::string& command);

/// What an exit status means.
struct ExitStatusText {
    int status;
    const char* meaning;
};
const std::vector<ExitStatusText>& ExitStatusTexts();
