#pragma once

#include "blockfile/DirBlock.h"
#include "blockfile/NameIndex.h"

#include <TALVOutl/LargePages.h>
#include <TALVOutl/MD5.h>

#include <array>
#include <cstdint>
#include <optional>
#include <queue>
#include <string_view>
#include <utility>
#include <vector>

/// The chain of directory blocks in memory: finds entries by name, hands out free slots, and knows
/// which blocks have changed since they were last written. Entries are numbered by slot: directory
/// block times three, plus the slot within the block. Blocks stay where they are until Clear.
class Directory : private NameIndex::Names {
public:
    using BlockNumber = BlockFormat::BlockNumber;
    using Slot = std::uint32_t;

    void Clear();

    /// Appends block `number` as it stands in the file; false when the bytes are no directory
    /// block of this number.
    bool AppendLoaded(const unsigned char* bytes, BlockNumber number);
    /// Appends an empty block, which is for the caller to write, and links the one before to it.
    void AppendNew(BlockNumber number);

    bool IsEmpty() const { return blockCount_ == 0; }
    std::size_t BlockCount() const { return blockCount_; }
    DirBlock& Block(std::size_t index) {
        return const_cast<DirBlock&>(std::as_const(*this).Block(index));
    }
    const DirBlock& Block(std::size_t index) const {
        const std::size_t chunk = ChunkOf(index);
        return chunks_[chunk][index - FirstOfChunk(chunk)];
    }
    /// Whether a block of the file belongs to the directory.
    bool HoldsBlock(BlockNumber number) const {
        return number < isDirBlock_.size() && isDirBlock_[number];
    }

    DirEntry& Entry(Slot slot) { return const_cast<DirEntry&>(std::as_const(*this).Entry(slot)); }
    const DirEntry& Entry(Slot slot) const {
        return Block(slot / BlockFormat::kSlotsPerBlock)
            .entries[slot % BlockFormat::kSlotsPerBlock];
    }
    /// Number of slots in use.
    std::size_t EntryCount() const { return entryCount_; }
    /// Number of slots, free ones included.
    Slot SlotCount() const { return static_cast<Slot>(blockCount_ * BlockFormat::kSlotsPerBlock); }
    /// The first slot in use at or after `from`; SlotCount() where there is none.
    Slot NextInUse(Slot from) const;
    /// The first slot in use whose name is `name` without regard to case.
    std::optional<Slot> Find(std::string_view name) const;
    /// The lowest free slot of the last block that has one.
    std::optional<Slot> FreeSlot() const;

    /// Makes an entry in the slot that FreeSlot gives. `name` has at most DirEntry::kMaxNameLength
    /// bytes; `time` is a time text.
    void Occupy(Slot slot, std::string_view name, const char* time, BlockNumber firstBlock);
    void Free(Slot slot);
    /// Changes whenever a slot is freed, so that a slot taken anew is not mistaken for the old
    /// entry.
    std::uint32_t Generation(Slot slot) const {
        return marks_[slot / BlockFormat::kSlotsPerBlock]
            .generations[slot % BlockFormat::kSlotsPerBlock];
    }

    /// What is to be written of a block: its parts from `first` to `last`.
    struct Change {
        std::size_t index;
        std::size_t first;
        std::size_t last;
    };

    void MarkBlockChanged(std::size_t index);
    void MarkEntryChanged(Slot slot);
    /// What is to be written: first of new blocks, which are still on their way, then of the older
    /// ones that lead to them. All counts as unchanged from here on. Valid until the next call.
    const std::vector<Change>& TakeChanges();

    /// The digest over all blocks in chain order by which a free-list snapshot is recognised as
    /// current.
    MD5::RawDigest Digest() const;

private:
    /// What is asked often of a block, apart from its records and close together.
    struct Marks {
        std::array<std::uint32_t, BlockFormat::kSlotsPerBlock> generations{};
        std::array<bool, BlockFormat::kSlotsPerBlock> isInUse{};
        /// A bit for each part of the block.
        std::uint8_t changedParts = 0;

        bool HasFreeSlot() const { return !(isInUse[0] && isInUse[1] && isInUse[2]); }
    };
    static_assert(BlockFormat::kSlotsPerBlock == 3 && sizeof(Marks) == 16);

    /// Each chunk is twice the size of the one before.
    static std::size_t FirstOfChunk(std::size_t chunk) { return (std::size_t{1} << chunk) - 1; }
    static std::size_t ChunkOf(std::size_t index) {
        return static_cast<std::size_t>(63 - __builtin_clzll(index + 1));
    }
    const char* NameOf(Slot slot) const override;
    DirBlock& MakeRoom();
    void Enter(const DirBlock& block);
    bool& IsInUse(Slot slot) {
        return marks_[slot / BlockFormat::kSlotsPerBlock]
            .isInUse[slot % BlockFormat::kSlotsPerBlock];
    }
    bool IsInUse(Slot slot) const { return const_cast<Directory*>(this)->IsInUse(slot); }
    void MarkChanged(std::size_t index, unsigned parts);
    Change TakeChange(std::size_t index);
    void BuildIndex() const;
    void RemoveFromIndex(Slot slot);

    /// Neighbours in the chain lie side by side in memory, and stay where they are.
    std::vector<std::vector<DirBlock, LargePageAllocator<DirBlock>>> chunks_;
    std::size_t blockCount_ = 0;
    std::vector<Marks, LargePageAllocator<Marks>> marks_;
    /// By number in the file.
    std::vector<bool> isDirBlock_;
    std::size_t entryCount_ = 0;
    /// Entries are made in the last of them only, so that is the only one to go.
    std::priority_queue<std::size_t> blocksWithFreeSlot_;
    std::vector<std::size_t> changedBlocks_;
    std::vector<Change> takenChanges_;
    /// Blocks from this index on are new since changes were last taken: they were written empty.
    std::size_t firstNewBlock_ = 0;

    /// First slot of each name. Built at the first search, so that listing a file does not pay for
    /// it; the names are those in the records.
    mutable NameIndex index_{*this};
    mutable bool indexed_ = false;
    /// Slots in use that the index does not hold because an earlier one has their name. Sound files
    /// have none.
    mutable std::size_t shadowed_ = 0;
};
