#pragma once

#include "recovery/SourceFile.h"

#include <TALVOkrstream/Recovery.h>

#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

/// What the header of a block says, and what can be seen of it without its payload.
struct BlockFacts {
    BlockFormat::BlockNumber next;
    /// In a block that the end of the file cuts, no more than are there.
    std::uint16_t used;
    bool isReadable : 1;
    /// The number is the position.
    bool isInPlace : 1;
    bool isSigned : 1;
    bool isInUse : 1;
    bool hasOddFlag : 1;
    /// Ends like a directory block of either version.
    bool hasMagic : 1;
    bool isPadding : 1;
    /// Carries the number of a block that is missing at its own position.
    bool isDisplaced : 1;
    /// The file ends within its used bytes.
    bool isCut : 1;
};
static_assert(sizeof(BlockFacts) == 8, "one for each block of the file is kept");

/// Whether a block has the magic of a directory block where a layout has it.
bool HasMagic(const unsigned char* block, const BlockFormat::DirLayout& layout);

/// All blocks of a file, seen in one pass. Blocks that have come to a wrong position are found by
/// the number that they carry.
class BlockTable {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    /// Reads the whole file.
    BlockTable(SourceFile& file, const Recovery::Progress& progress);

    /// Positions in the file, those of unreadable blocks included.
    BlockNumber Count() const { return static_cast<BlockNumber>(facts_.size()); }
    const BlockFacts& At(BlockNumber position) const { return facts_[position - 1]; }
    bool HasAnySigned() const { return hasAnySigned_; }

    /// Where a block is; none for a number that the file does not have.
    BlockNumber PlaceOf(BlockNumber number) const;
    /// Whether a position shows any sign of being a block of this format. Where its number is
    /// damaged the signature is enough, and the other way round.
    bool IsCredible(BlockNumber position) const {
        const BlockFacts& facts = At(position);
        return facts.isReadable && (facts.isInPlace || facts.isSigned);
    }

private:
    /// A number, and the position of a block that carries it.
    using Claim = std::pair<BlockNumber, BlockNumber>;

    void Place(const std::vector<Claim>& claims);
    std::unordered_set<BlockNumber> LinksBeyondEnd() const;

    std::vector<BlockFacts> facts_;
    /// Positions of blocks by number, for those that are not at their own.
    std::unordered_map<BlockNumber, BlockNumber> displaced_;
    bool hasAnySigned_ = false;
};
