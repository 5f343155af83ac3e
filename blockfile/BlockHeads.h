#pragma once

#include "blockfile/BlockFile.h"

#include <vector>

/// The heads of blocks, for a walk that needs no payload: read several at a time while the walk
/// goes upwards through the file, one at a time where it jumps. What is written during the walk may
/// not be seen.
class BlockHeads {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    explicit BlockHeads(BlockFile& file) : file_(file) {}

    /// The first kHeadSize bytes of a block, until the next call; null when they cannot be read.
    const unsigned char* Of(BlockNumber number) {
        if (!Holds(number)) {
            Load(number);
        }
        return Holds(number) ? heads_.data() + (number - first_) * BlockFormat::kHeadSize : nullptr;
    }

private:
    bool Holds(BlockNumber number) const { return number >= first_ && number - first_ < held_; }
    void Load(BlockNumber number);

    BlockFile& file_;
    std::vector<unsigned char> heads_;
    BlockNumber first_ = BlockFormat::kNoBlock;
    std::size_t held_ = 0;
    /// How many the last miss asked for; doubles while the walk goes upwards.
    std::size_t asked_ = 0;
};
