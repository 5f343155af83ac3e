#pragma once

#include "Report.h"

#include <string>
#include <vector>

/// A file to be stored and the name of its entry. The path "-" is standard input where
/// `isStandardInput` is set.
struct Input {
    std::string path;
    std::string name;
    bool isStandardInput = false;
};

/// The regular files at and below `paths`, which are relative to `folder`, in an order that depends
/// on their names alone. Throws Failure when a path does not exist or cannot give a name; reports
/// what it meets and leaves out.
std::vector<Input> CollectInputs(const std::string& folder, const std::vector<std::string>& paths,
                                 Report& report);

/// Throws Failure when an input cannot be stored under its name, or two of them would be one entry.
void CheckNames(const std::vector<Input>& inputs);
