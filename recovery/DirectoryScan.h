#pragma once

#include "blockfile/DirBlock.h"
#include "recovery/BlockTable.h"

#include <array>
#include <cstdint>
#include <vector>

/// What a slot that is in use breaks by itself, beside its chain.
struct SlotFaults {
    bool nameUnterminated;
    bool createdForm;
    bool modifiedForm;
};

/// A directory block as found, however damaged.
struct FoundDirBlock {
    BlockFormat::BlockNumber number;
    BlockFormat::BlockNumber position;
    BlockFormat::BlockNumber next;
    /// The directory's chain leads to it.
    bool isLinked;
    bool hasMagic;
    /// Those of the file's first block hold for the whole file.
    std::uint16_t flags;
    std::array<unsigned char, BlockFormat::kDigestSize> passwordDigest;
    std::size_t entryCount;
    bool hasFreeSlotWithSize;
};

/// The directory blocks of a file, those that the chain leads to first, and the entries in them.
class DirectoryScan {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    /// How the directory's chain ends.
    enum class End { Regular, NoBlock, NotDirectory, Cycle };

    DirectoryScan(SourceFile& file, const BlockTable& table);

    const std::vector<FoundDirBlock>& Blocks() const { return blocks_; }
    End ChainEnd() const { return end_; }
    /// The number at which the chain stopped short.
    BlockNumber EndNumber() const { return endNumber_; }
    bool IsDirBlock(BlockNumber position) const { return isDirBlock_[position - 1]; }
    /// Whether the file's first block is there, with the password's record.
    bool HasFirst() const {
        return !blocks_.empty() && blocks_.front().number == BlockFormat::kFirstBlock;
    }

    std::vector<Recovery::Entry>& Entries() { return entries_; }
    const std::vector<Recovery::Entry>& Entries() const { return entries_; }
    const SlotFaults& FaultsOf(std::size_t entry) const { return faults_[entry]; }

    /// Reads a directory block again; false when its bytes are not exactly one.
    bool ReadExact(const FoundDirBlock& found, DirBlock& block) const;

private:
    void FollowChain();
    void AddUnlinked();
    bool Add(BlockNumber number, BlockNumber position, bool isLinked);
    void AddEntry(const DirEntry& record, const unsigned char* slot, BlockNumber number);
    void DropLinkedByData(std::vector<bool>& candidates) const;

    SourceFile& file_;
    const BlockTable& table_;
    std::vector<FoundDirBlock> blocks_;
    std::vector<bool> isDirBlock_;
    std::vector<Recovery::Entry> entries_;
    std::vector<SlotFaults> faults_;
    End end_ = End::Regular;
    BlockNumber endNumber_ = BlockFormat::kNoBlock;
};
