#include "BlockMap.h"

#include <algorithm>
#include <iterator>

namespace {

std::vector<BlockMap::Group> EmptyGroups() {
    std::vector<BlockMap::Group> groups(kLookCount);
    for (std::size_t i = 0; i < kLookCount; ++i) {
        groups[i].look = static_cast<Look>(i);
    }
    groups[Index(Look::Directory)].name = "directory: names, times, first blocks";
    groups[Index(Look::FreeList)].name = "record of free blocks";
    groups[Index(Look::Free)].name = "free";
    groups[Index(Look::Orphan)].name = "in use, but part of nothing";
    groups[Index(Look::Damaged)].name = "damaged";
    return groups;
}

/// A damaged file can promise any size.
std::uint64_t BytesThere(const Recovery::Entry& entry) {
    return std::min(entry.bytes, entry.size);
}

} // namespace

BlockMap::BlockMap(Recovery::File& file)
    : blockCount_(file.Blocks().size()),
      entryPieces_(file.Entries().size()),
      groups_(EmptyGroups()) {
    for (const Recovery::Entry& entry : file.Entries()) {
        names_.push_back(entry.name);
    }
    Rank(file.Entries());
    FindPieces(LookOver(file), file.Blocks());
}

void BlockMap::Rank(const std::vector<Recovery::Entry>& entries) {
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (!entries[i].isFreeList) {
            order.push_back(i);
        }
    }
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return BytesThere(entries[a]) > BytesThere(entries[b]);
    });
    looks_.assign(entries.size(), Look::FreeList);
    for (std::size_t rank = 0; rank < order.size(); ++rank) {
        const bool ranked = rank < kRankedEntries;
        const Recovery::Entry& entry = entries[order[rank]];
        const Look look = ranked ? static_cast<Look>(rank) : Look::OtherEntry;
        looks_[order[rank]] = look;
        Group& group = groups_[Index(look)];
        group.bytes += BytesThere(entry);
        ++group.entries;
        if (ranked) {
            group.name = entry.name;
        }
    }
}

Look BlockMap::LookOf(const Recovery::Block& block) const {
    switch (block.role) {
    case Recovery::Role::Directory:
        return Look::Directory;
    case Recovery::Role::Entry:
        return looks_[block.owner];
    case Recovery::Role::FreeList:
        return Look::FreeList;
    case Recovery::Role::Orphan:
        return Look::Orphan;
    case Recovery::Role::Foreign:
        return Look::Damaged;
    default:
        return Look::Free;
    }
}

std::vector<Look> BlockMap::LookOver(Recovery::File& file) {
    std::vector<Look> looks;
    looks.reserve(file.Blocks().size());
    for (const Recovery::Block& block : file.Blocks()) {
        looks.push_back(LookOf(block));
    }
    // Whose a block is can be known although the block cannot be used as it is.
    for (const Recovery::Finding& finding : file.Check()) {
        if (finding.severity != Recovery::Severity::Damage) {
            continue;
        }
        ++damageFindings_;
        // An entry that lacks bytes has nothing wrong in the block where it begins.
        const bool ofBlocks = finding.kind != Recovery::Kind::SizeOverChain;
        // A chain can lead to blocks that the file does not have.
        const std::uint64_t end = std::min<std::uint64_t>(
            finding.block + std::uint64_t{finding.blockCount}, looks.size() + 1);
        for (std::uint64_t i = finding.block; ofBlocks && i < end; ++i) {
            looks[i - 1] = Look::Damaged;
        }
    }
    return looks;
}

void BlockMap::FindPieces(const std::vector<Look>& looks,
                          const std::vector<Recovery::Block>& blocks) {
    for (std::uint64_t i = 0; i < looks.size(); ++i) {
        const Look look = looks[i];
        const std::uint32_t entry = IsOfEntry(look) ? blocks[i].owner : 0;
        Group& group = groups_[Index(look)];
        ++group.blocks;
        if (!pieces_.empty() && pieces_.back().look == look && pieces_.back().entry == entry) {
            ++pieces_.back().count;
            continue;
        }
        ++group.pieces;
        const std::uint64_t number = IsOfEntry(look) ? ++entryPieces_[entry] : group.pieces;
        pieces_.push_back({look, entry, i + 1, 1, number});
    }
}

const std::string& BlockMap::NameOf(const Piece& piece) const {
    return IsOfEntry(piece.look) ? names_[piece.entry] : Of(piece.look).name;
}

std::vector<BlockMap::Group> BlockMap::Groups() const {
    std::vector<Group> present;
    std::copy_if(groups_.begin(), groups_.end(), std::back_inserter(present),
                 [](const Group& group) { return group.blocks > 0 || group.entries > 0; });
    return present;
}

BlockMap::Group BlockMap::Entries() const {
    Group sum{Look::OtherEntry, {}};
    for (std::size_t i = 0; i <= Index(Look::OtherEntry); ++i) {
        sum.bytes += groups_[i].bytes;
        sum.blocks += groups_[i].blocks;
        sum.pieces += groups_[i].pieces;
        sum.entries += groups_[i].entries;
    }
    return sum;
}

std::uint64_t BlockMap::EntriesInOnePiece() const {
    return static_cast<std::uint64_t>(
        std::count(entryPieces_.begin(), entryPieces_.end(), std::uint64_t{1}));
}
