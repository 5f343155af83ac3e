#pragma once

#include "OpenFile.h"
#include "Report.h"

#include <TALVOkrstream/CompoundFile.h>

#include <cstdint>
#include <string>
#include <vector>

/// The directory's record of an entry, copied.
struct Entry {
    explicit Entry(const DirEntry& record);

    /// Number of the data blocks that hold an entry of this size; a full last block is followed by
    /// an empty one.
    std::uint64_t Blocks() const;

    std::string name;
    std::string created;
    std::string modified;
    std::uint32_t firstBlock;
    std::uint64_t size;
};

/// All entries in the order of their first blocks, in which reading them reads the file from front
/// to back.
std::vector<Entry> AllEntries(const CompoundFile& file);

/// As above without the library's record of free blocks.
std::vector<Entry> UserEntries(const CompoundFile& file);

/// Bytes that the entries have, as far as the directory is right.
std::uint64_t TotalSize(const std::vector<Entry>& entries);

/// The entries of the given names, in that order; names that are not there are reported as skipped.
std::vector<Entry> NamedEntries(OpenFile& file, const std::vector<std::string>& names,
                                Report& report);
