#pragma once

#include "ExitStatus.h"

#include <string>
#include <vector>

/// What the user asked for. Each command takes the members that concern it.
struct Options {
    std::string file;
    /// File to be made from `file`; empty where the command can do without.
    std::string target;
    /// Paths to store.
    std::vector<std::string> paths;
    /// Names of entries.
    std::vector<std::string> names;
    /// Folder that the paths are relative to, or that is extracted to; empty for the current one.
    std::string folder;
    /// Name of the entry that standard input becomes; none without standard input.
    std::string standardInputName;
    /// Empty for the terminal, "-" for standard input; see PasswordSource.
    std::string passwordFile;
    std::string newPasswordFile;
    bool force = false;
    bool all = false;
    bool isLong = false;
    bool json = false;
    /// Names end with a NUL instead of a newline.
    bool nullEnds = false;
};

// The commands. Each prints its own lines about single entries and throws Failure for what ends it.
ExitStatus Create(const Options& options);
ExitStatus Add(const Options& options);
ExitStatus List(const Options& options);
ExitStatus Extract(const Options& options);
ExitStatus Cat(const Options& options);
ExitStatus Remove(const Options& options);
ExitStatus Info(const Options& options);
ExitStatus Encrypt(const Options& options);
ExitStatus Decrypt(const Options& options);
ExitStatus ChangePassword(const Options& options);
ExitStatus Compact(const Options& options);
ExitStatus Check(const Options& options);
ExitStatus Repair(const Options& options);
ExitStatus Map(const Options& options);
