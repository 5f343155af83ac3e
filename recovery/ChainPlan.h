#pragma once

#include "recovery/DirectoryScan.h"

#include <cstdint>
#include <vector>

/// How far a chain can be followed, and why no farther.
struct ChainPart {
    enum class End { Regular, NoBlock, Directory, Foreign, Taken, Cycle };

    /// Where the first block is; kNoBlock when there is none.
    BlockFormat::BlockNumber firstPosition = BlockFormat::kNoBlock;
    std::uint64_t blocks = 0;
    std::uint64_t bytes = 0;
    End end = End::Regular;
    /// The number that the chain could not be followed to.
    BlockFormat::BlockNumber endNumber = BlockFormat::kNoBlock;
    /// The chain goes on behind the bytes of its entry.
    bool goesOn = false;
};

/// Which block belongs to which entry. No block is given to two: entries whose chain fits their
/// recorded length come first, so that one that was led astray does not take what is another's.
class ChainPlan {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    ChainPlan(const BlockTable& table, DirectoryScan& directory);

    const std::vector<Recovery::Block>& Blocks() const { return blocks_; }
    const ChainPart& PartOf(std::size_t entry) const { return parts_[entry]; }
    /// Chains that are in use and belong to no entry.
    const std::vector<ChainPart>& Orphans() const { return orphans_; }

private:
    class Lengths;

    void MarkDirectory();
    void ClaimChains();
    void Follow(std::uint32_t entry, std::uint64_t length, std::uint64_t mostBlocks);
    ChainPart::End Obstacle(BlockNumber number, std::uint32_t entry) const;
    void CollectOrphans();
    void FollowOrphan(BlockNumber position);
    BlockNumber LooseBehind(BlockNumber position) const;
    bool IsLoose(BlockNumber position) const;
    void MarkForeign();

    const BlockTable& table_;
    DirectoryScan& directory_;
    std::vector<Recovery::Block> blocks_;
    std::vector<ChainPart> parts_;
    std::vector<ChainPart> orphans_;
};

/// How many payload bytes a block of a chain part has, of `remaining` that are still to come. Only
/// a block that ends its chain can have less than a full payload.
std::size_t PayloadOf(const BlockFacts& facts, std::uint64_t remaining);
