#pragma once

#include "recovery/ChainPlan.h"
#include "recovery/PayloadReader.h"

#include <TALVOkrstream/CompoundFile.h>
#include <TALVOkrstream/Recovery.h>

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// Gives out names of which no two are equal without regard to case.
class UniqueNames {
public:
    /// `wanted` are the names that numbered ones must not take away.
    explicit UniqueNames(const std::vector<Recovery::Entry>& wanted);

    /// The name itself for the first who asks for it, else the name with a number.
    std::string Take(const std::string& name);
    /// The name with the next number that makes it unique.
    std::string TakeNumbered(const std::string& name);

private:
    std::unordered_set<std::string> wanted_;
    std::unordered_set<std::string> given_;
    std::unordered_map<std::string, unsigned> counters_;
};

/// Writes what can be read of a file to a new one.
class Salvage {
public:
    Salvage(const BlockTable& table, const DirectoryScan& directory, const ChainPlan& plan,
            PayloadReader& reader, CompoundFile& target, const Recovery::Progress& progress);

    /// Appends to `saved` what became of everything; false when the target could not be written.
    bool Run(std::vector<Recovery::Saved>& saved);

private:
    bool SaveEntry(std::size_t index, Recovery::Saved& saved);
    bool SaveOrphan(const ChainPart& part, std::vector<Recovery::Saved>& saved);
    bool IsWorthKeeping(const ChainPart& part);
    bool Copy(const ChainPart& part, Recovery::Saved& saved);

    const BlockTable& table_;
    const DirectoryScan& directory_;
    const ChainPlan& plan_;
    PayloadReader& reader_;
    CompoundFile& target_;
    const Recovery::Progress& progress_;
    UniqueNames names_;
};
