#pragma once

#include "blockfile/BlockFile.h"

/// The heads of blocks, for a walk that needs no payload. Nobody else can read during the walk, and
/// nothing else may be done with the file.
class BlockHeads {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    explicit BlockHeads(BlockFile& file) : reading_(file) {}

    /// The first kHeadSize bytes of a block, until the next call; null when they cannot be read.
    const unsigned char* Of(BlockNumber number) {
        if (!Holds(number)) {
            Load(number);
        }
        // A chain mostly goes on behind, and only this head will tell: it need not be waited for.
        __builtin_prefetch(At(number + kHeadsAhead));
        return At(number);
    }

private:
    /// As many as are looked at while one comes from a cache farther away.
    static constexpr BlockNumber kHeadsAhead = 8;

    bool Holds(BlockNumber number) const { return number >= first_ && number - first_ < held_; }
    const unsigned char* At(BlockNumber number) const {
        return Holds(number) ? heads_ + (number - first_) * BlockFormat::kBlockSize : nullptr;
    }
    void Load(BlockNumber number);

    BlockFile::Reading reading_;
    /// The head of block `first_`; those of the blocks behind it follow, a block's length apart.
    const unsigned char* heads_ = nullptr;
    BlockNumber first_ = BlockFormat::kNoBlock;
    std::size_t held_ = 0;
};
