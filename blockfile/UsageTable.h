#pragma once

#include "blockfile/BlockFormat.h"

#include <cstdint>
#include <vector>

/// Which blocks of the file are in use, a byte a block.
///
/// A new block always takes the lowest free number, or the number after the highest. Index 0 stands
/// for no block and is never given out.
class UsageTable {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    UsageTable();
    /// Knows the blocks 1 to flags.size() - 1; element n is 1 when block n is in use, else 0.
    explicit UsageTable(const std::vector<unsigned char>& flags);

    /// Records whether a block is in use; the table grows as needed.
    void Set(BlockNumber number, bool inUse) {
        if (!inUse || !IsUsed(number)) {
            Change(number, inUse);
        }
    }

    /// Takes a free block and marks it in use; kNoBlock when the numbers have run out.
    BlockNumber Allocate();
    /// Numbers end here, sooner than the format's do.
    void Limit(BlockNumber last) { last_ = last; }

    bool IsUsed(BlockNumber number) const { return number <= highest_ && flags_[number] != 0; }
    /// The highest block number the table knows.
    BlockNumber Highest() const { return highest_; }
    /// The highest index that the table has room for.
    BlockNumber Capacity() const { return static_cast<BlockNumber>(flags_.size() - 1); }
    BlockNumber CountUsed() const;
    /// One byte a block, 1 or 0, from index 0 to Highest().
    const unsigned char* Flags() const { return flags_.data(); }

private:
    void Change(BlockNumber number, bool inUse);
    void ExtendTo(BlockNumber number);
    BlockNumber FirstFreeFrom(BlockNumber number) const;

    std::vector<unsigned char> flags_;
    /// How many blocks of each group of neighbours are in use, so that a search passes over full
    /// groups.
    std::vector<std::uint32_t> usedInGroup_;
    BlockNumber highest_ = 0;
    BlockNumber last_ = BlockFormat::kMaxBlockNumber;
    /// The lowest free number, or the one after the highest.
    BlockNumber hint_ = 1;
};
