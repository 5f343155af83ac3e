#pragma once

#include "recovery/ChainPlan.h"
#include "recovery/Findings.h"
#include "recovery/PayloadReader.h"

/// Whether these payload bytes begin a record of free blocks. Hardly any others do: a right
/// password is told from a wrong one by this.
bool BeginsFreeList(const unsigned char* payload, std::size_t count);

/// Holds a record of free blocks against the directory and the blocks.
class FreeListCheck {
public:
    FreeListCheck(const BlockTable& table, const DirectoryScan& directory, const ChainPlan& plan,
                  PayloadReader& reader, Findings& findings)
        : table_(table), directory_(directory), plan_(plan), reader_(reader), findings_(findings) {}

    void Check(std::size_t entry);

private:
    bool IsCurrent(const std::string& head, std::uint64_t length) const;
    void CheckFlags(const std::string& name, std::uint64_t first, std::string_view flags);
    bool IsTaken(std::uint64_t number) const;

    const BlockTable& table_;
    const DirectoryScan& directory_;
    const ChainPlan& plan_;
    PayloadReader& reader_;
    Findings& findings_;
};
