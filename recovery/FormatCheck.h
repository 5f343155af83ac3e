#pragma once

#include "recovery/ChainPlan.h"
#include "recovery/Findings.h"

/// Holds what was seen of a file against the rules of the format, all but those about the content
/// of the record of free blocks.
class FormatCheck {
public:
    FormatCheck(const SourceFile& file, const BlockTable& table, const DirectoryScan& directory,
                const ChainPlan& plan, Findings& findings)
        : file_(file), table_(table), directory_(directory), plan_(plan), findings_(findings) {}

    void Run();

private:
    using BlockNumber = BlockFormat::BlockNumber;

    void CheckLength();
    void CheckBlock(BlockNumber position);
    void CheckHeader(BlockNumber position);
    void CheckInUse(BlockNumber position);
    void CheckUsed(BlockNumber position);
    void CheckDirectory();
    void CheckDirectoryEnd();
    void CheckPasswordRecord(const FoundDirBlock& block);
    void CheckNames();
    void CheckTexts(std::size_t index);
    void CheckChain(std::size_t index);
    void CheckSize(std::size_t index);

    void AddAbout(BlockNumber position, Recovery::Kind kind, Recovery::Severity severity,
                  const char* text);

    const SourceFile& file_;
    const BlockTable& table_;
    const DirectoryScan& directory_;
    const ChainPlan& plan_;
    Findings& findings_;
};
