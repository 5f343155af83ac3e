#pragma once

#include "tests/support/Entries.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

/// What a run of the tool came to. `status` is -1 when a signal ended it.
struct ToolResult {
    int status;
    std::string out;
    std::string err;
};

/// Each test works in a folder of its own, which is the tool's current folder too.
class ToolTest : public testing::Test {
protected:
    /// Runs the tool without a terminal.
    ToolResult Run(const std::vector<std::string>& arguments, const std::string& input = "",
                   const std::string& outputPath = "") const;

    /// Runs a line of bash in which krstream is the tool.
    ToolResult Shell(const std::string& line) const;

    /// Starts the tool at a terminal of its own. `terminal` is our end of that; standard input is a
    /// pipe that we write to. `process` leads the tool's group.
    struct TerminalRun {
        pid_t process;
        int terminal;
        int input;
    };
    TerminalRun Start(const std::vector<std::string>& arguments) const;
    /// Waits for the tool; what the terminal showed, and the raw wait status.
    static std::string Finish(const TerminalRun& run, int& waitStatus);

    std::string Path(const std::string& name) const { return folder_ / name; }
    /// Makes a file, and folders on the way to it.
    void WriteFile(const std::string& name, const std::string& content) const;
    std::string ReadFile(const std::string& name) const { return ::ReadFile(Path(name)); }
    bool Exists(const std::string& name) const;
    /// All files at or below `name` with the Summary of their content; links with their targets.
    std::map<std::string, std::string> Snapshot(const std::string& name = ".") const;

private:
    ToolResult RunProgram(const std::vector<std::string>& command, const std::string& input,
                          const std::string& outputPath) const;

    /// Standard streams are kept here, where snapshots do not see them.
    const TempFolder streams_;
    const TempFolder folder_;
};

/// Short content as it is; of longer content the size and a digest, which a failed test can print.
std::string Summary(const std::string& content);
