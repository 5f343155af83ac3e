#include "recovery/ChainPlan.h"

#include <algorithm>
#include <limits>

using namespace BlockFormat;
using Recovery::Role;

std::size_t PayloadOf(const BlockFacts& facts, std::uint64_t remaining) {
    const bool isFull = (facts.next != kNoBlock && !facts.isCut) || facts.used > kPayloadSize;
    const std::size_t held = isFull ? kPayloadSize : facts.used;
    return static_cast<std::size_t>(std::min<std::uint64_t>(held, remaining));
}

/// Lengths in bytes of chains that keep all rules from some block to their end. Each block is
/// looked at once, however many chains lead to it.
class ChainPlan::Lengths {
public:
    static constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();

    Lengths(const BlockTable& table, const DirectoryScan& directory)
        : table_(table), directory_(directory), lengths_(table.Count(), kUnknown) {}

    /// The length from a block on; kNone when a rule is broken on the way.
    std::uint64_t From(BlockNumber number) {
        std::vector<BlockNumber> path;
        std::uint64_t length = kUnknown;
        BlockNumber position = table_.PlaceOf(number);
        while ((length = Known(position)) == kUnknown) {
            // Whoever comes back here before the end is known goes in a circle.
            lengths_[position - 1] = kNone;
            path.push_back(position);
            position = table_.PlaceOf(table_.At(position).next);
        }
        for (; !path.empty(); path.pop_back()) {
            length = length == kNone ? kNone : length + kPayloadSize;
            lengths_[path.back() - 1] = length;
        }
        return length;
    }

private:
    static constexpr std::uint64_t kUnknown = kNone - 1;

    std::uint64_t Known(BlockNumber position) const {
        if (position == kNoBlock || directory_.IsDirBlock(position) ||
            !table_.IsCredible(position)) {
            return kNone;
        }
        const BlockFacts& facts = table_.At(position);
        // What is behind a block that was taken, but not written yet, is what was deleted from it.
        if (!facts.isInUse) {
            return kNone;
        }
        if (facts.next == kNoBlock) {
            return facts.used <= kPayloadSize ? facts.used : kNone;
        }
        return facts.used == kPayloadSize ? lengths_[position - 1] : kNone;
    }

    const BlockTable& table_;
    const DirectoryScan& directory_;
    std::vector<std::uint64_t> lengths_;
};

ChainPlan::ChainPlan(const BlockTable& table, DirectoryScan& directory)
    : table_(table),
      directory_(directory),
      blocks_(table.Count(), {0, Role::Free}),
      parts_(directory.Entries().size()) {
    MarkDirectory();
    ClaimChains();
    CollectOrphans();
    MarkForeign();
}

void ChainPlan::MarkDirectory() {
    for (const FoundDirBlock& block : directory_.Blocks()) {
        blocks_[block.position - 1].role = Role::Directory;
    }
}

void ChainPlan::ClaimChains() {
    const auto count = static_cast<std::uint32_t>(parts_.size());
    Lengths lengths(table_, directory_);
    for (const bool fitting : {true, false}) {
        for (std::uint32_t i = 0; i < count; ++i) {
            Recovery::Entry& entry = directory_.Entries()[i];
            const std::uint64_t length = lengths.From(entry.firstBlock);
            const bool isRegular = length != Lengths::kNone;
            const bool fits = isRegular && length - (entry.isFreeList ? 1 : 0) == entry.size;
            if (fits != fitting) {
                continue;
            }
            Follow(i, isRegular ? length : entry.size,
                   isRegular ? table_.Count() : entry.size / kPayloadSize + 1);
            entry.blocks = parts_[i].blocks;
            entry.bytes = parts_[i].bytes;
        }
    }
}

void ChainPlan::Follow(std::uint32_t entry, std::uint64_t length, std::uint64_t mostBlocks) {
    ChainPart& part = parts_[entry];
    const Recovery::Entry& record = directory_.Entries()[entry];
    BlockNumber number = record.firstBlock;
    while (number != kNoBlock) {
        part.end = Obstacle(number, entry);
        part.endNumber = number;
        if (part.end != ChainPart::End::Regular) {
            return;
        }
        const BlockNumber position = table_.PlaceOf(number);
        const bool isComplete = part.blocks > 0 && part.bytes == length;
        part.goesOn = part.blocks == mostBlocks || (isComplete && !table_.At(position).isInUse);
        if (part.goesOn) {
            return;
        }
        blocks_[position - 1] = {entry, record.isFreeList ? Role::FreeList : Role::Entry};
        part.firstPosition = part.blocks == 0 ? position : part.firstPosition;
        ++part.blocks;
        part.bytes += PayloadOf(table_.At(position), length - part.bytes);
        number = table_.At(position).next;
    }
}

ChainPart::End ChainPlan::Obstacle(BlockNumber number, std::uint32_t entry) const {
    const BlockNumber position = table_.PlaceOf(number);
    if (position == kNoBlock) {
        return ChainPart::End::NoBlock;
    }
    const Recovery::Block& block = blocks_[position - 1];
    if (block.role == Role::Directory) {
        return ChainPart::End::Directory;
    }
    if (!table_.IsCredible(position)) {
        return ChainPart::End::Foreign;
    }
    if (block.role == Role::Free) {
        return ChainPart::End::Regular;
    }
    return block.owner == entry ? ChainPart::End::Cycle : ChainPart::End::Taken;
}

// An orphan chain begins where no other orphan leads to. What is left then runs in circles, or goes
// on behind a block that is not full.
void ChainPlan::CollectOrphans() {
    std::vector<bool> isLinked(table_.Count());
    for (BlockNumber position = 1; position <= table_.Count(); ++position) {
        const BlockNumber next = IsLoose(position) ? LooseBehind(position) : kNoBlock;
        if (next != kNoBlock) {
            isLinked[next - 1] = true;
        }
    }
    for (const bool linked : {false, true}) {
        for (BlockNumber position = 1; position <= table_.Count(); ++position) {
            if (isLinked[position - 1] == linked && IsLoose(position)) {
                FollowOrphan(position);
            }
        }
    }
}

void ChainPlan::FollowOrphan(BlockNumber position) {
    const auto index = static_cast<std::uint32_t>(orphans_.size());
    ChainPart part;
    part.firstPosition = position;
    while (position != kNoBlock) {
        const BlockFacts& facts = table_.At(position);
        ++part.blocks;
        part.bytes += std::min<std::size_t>(facts.used, kPayloadSize);
        blocks_[position - 1] = {index, Role::Orphan};
        position = facts.used == kPayloadSize ? LooseBehind(position) : kNoBlock;
    }
    orphans_.push_back(part);
}

// The position of the loose block that a block links to; none otherwise.
BlockNumber ChainPlan::LooseBehind(BlockNumber position) const {
    const BlockNumber next = table_.PlaceOf(table_.At(position).next);
    return next != kNoBlock && IsLoose(next) ? next : kNoBlock;
}

bool ChainPlan::IsLoose(BlockNumber position) const {
    return blocks_[position - 1].role == Role::Free && table_.At(position).isInUse &&
           table_.IsCredible(position);
}

void ChainPlan::MarkForeign() {
    for (BlockNumber position = 1; position <= table_.Count(); ++position) {
        if (blocks_[position - 1].role == Role::Free && !table_.IsCredible(position)) {
            blocks_[position - 1].role = Role::Foreign;
        }
    }
}
