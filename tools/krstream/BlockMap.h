#pragma once

#include <TALVOkrstream/Recovery.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// How a block is drawn. The largest entries have a look each, all others share one.
enum class Look : std::uint8_t {
    Entry1,
    Entry2,
    Entry3,
    Entry4,
    Entry5,
    Entry6,
    Entry7,
    Entry8,
    Entry9,
    OtherEntry,
    Directory,
    FreeList,
    Free,
    Orphan,
    Damaged
};

constexpr std::size_t kLookCount = static_cast<std::size_t>(Look::Damaged) + 1;
constexpr std::size_t kRankedEntries = static_cast<std::size_t>(Look::OtherEntry);

constexpr std::size_t Index(Look look) {
    return static_cast<std::size_t>(look);
}

constexpr bool IsOfEntry(Look look) {
    return look <= Look::OtherEntry;
}

/// Blocks side by side that are part of the same thing.
struct Piece {
    Look look;
    /// Index of the entry that the piece is of; meant for entries only.
    std::uint32_t entry;
    /// Position of the first block, from 1 on.
    std::uint64_t first;
    std::uint64_t count;
    /// Which piece of its entry this is in the order of the file, from 1 on.
    std::uint64_t number;
};

/// What a file's blocks belong to, ready to be drawn.
class BlockMap {
public:
    explicit BlockMap(Recovery::File& file);

    /// What is drawn with one look: an entry, all other entries together, or blocks of one role.
    struct Group {
        Look look;
        /// An entry's name, any bytes; for the rest a text.
        std::string name;
        std::uint64_t bytes = 0;
        std::uint64_t blocks = 0;
        std::uint64_t pieces = 0;
        std::uint64_t entries = 0;
    };

    /// In the order of the file, all blocks of it.
    const std::vector<Piece>& Pieces() const { return pieces_; }
    /// Name of a piece's entry, or what else the piece is; any bytes.
    const std::string& NameOf(const Piece& piece) const;
    /// Of how many pieces the piece's entry is.
    std::uint64_t PiecesOf(const Piece& piece) const { return entryPieces_[piece.entry]; }
    /// The groups that have something, in the order of looks: entries by size, largest first.
    std::vector<Group> Groups() const;
    const Group& Of(Look look) const { return groups_[Index(look)]; }

    /// Sums over all entries, the record of free blocks not counted.
    Group Entries() const;
    std::uint64_t EntriesInOnePiece() const;
    std::uint64_t BlockCount() const { return blockCount_; }
    /// How many findings of damage a check has; not all are about blocks.
    std::uint64_t DamageFindings() const { return damageFindings_; }

private:
    void Rank(const std::vector<Recovery::Entry>& entries);
    void FindPieces(const std::vector<Look>& looks, const std::vector<Recovery::Block>& blocks);
    Look LookOf(const Recovery::Block& block) const;
    /// The look of each block.
    std::vector<Look> LookOver(Recovery::File& file);

    std::uint64_t blockCount_;
    std::uint64_t damageFindings_ = 0;
    std::vector<Piece> pieces_;
    std::vector<std::string> names_;
    /// By entry.
    std::vector<Look> looks_;
    std::vector<std::uint64_t> entryPieces_;
    std::vector<Group> groups_;
};
