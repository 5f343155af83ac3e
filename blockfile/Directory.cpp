#include "blockfile/Directory.h"

#include <TALVOutl/Strings.h>

#include <algorithm>
#include <cstring>

using namespace BlockFormat;

namespace {

/// As many as are looked at while one comes from memory.
constexpr Directory::Slot kNamesAhead = 12;

} // namespace

void Directory::Clear() {
    index_.Clear();
    indexed_ = false;
    shadowed_ = 0;
    chunks_.clear();
    blockCount_ = 0;
    marks_.clear();
    isDirBlock_.clear();
    entryCount_ = 0;
    blocksWithFreeSlot_ = {};
    changedBlocks_.clear();
    firstNewBlock_ = 0;
}

bool Directory::AppendLoaded(const unsigned char* bytes, BlockNumber number) {
    DirBlock& block = MakeRoom();
    if (!block.Unpack(bytes, number)) {
        chunks_.back().pop_back();
        return false;
    }
    Enter(block);
    firstNewBlock_ = blockCount_;
    // An old block is brought to the present version by the next flush that has something to write.
    if (block.header.signature != kSignature) {
        MarkBlockChanged(blockCount_ - 1);
    }
    return true;
}

void Directory::AppendNew(BlockNumber number) {
    if (!IsEmpty()) {
        Block(blockCount_ - 1).header.next = number;
        MarkChanged(blockCount_ - 1, 1U << kHeaderPart);
    }
    DirBlock& block = MakeRoom();
    block.header = {number, 1, kSignature, kNoBlock};
    Enter(block);
}

Directory::Slot Directory::NextInUse(Slot from) const {
    for (Slot slot = from; slot < SlotCount(); ++slot) {
        if (IsInUse(slot)) {
            // Who walks over the entries asks for their names, which lie too far apart for a
            // processor to see what comes next. In a function of its own, which has neither effect
            // nor result, the compiler drops this.
            if (slot + kNamesAhead < SlotCount()) {
                __builtin_prefetch(Entry(slot + kNamesAhead).name);
            }
            return slot;
        }
    }
    return SlotCount();
}

std::optional<Directory::Slot> Directory::Find(std::string_view name) const {
    if (!indexed_) {
        BuildIndex();
    }
    return index_.Find(name);
}

std::optional<Directory::Slot> Directory::FreeSlot() const {
    if (blocksWithFreeSlot_.empty()) {
        return std::nullopt;
    }
    Slot slot = static_cast<Slot>(blocksWithFreeSlot_.top() * kSlotsPerBlock);
    while (IsInUse(slot)) {
        ++slot;
    }
    return slot;
}

void Directory::Occupy(Slot slot, std::string_view name, const char* time, BlockNumber firstBlock) {
    DirEntry& entry = Entry(slot);
    entry = DirEntry{};
    name.copy(entry.name, DirEntry::kMaxNameLength);
    std::memcpy(entry.created, time, sizeof entry.created);
    std::memcpy(entry.modified, time, sizeof entry.modified);
    entry.firstBlock = firstBlock;
    IsInUse(slot) = true;
    ++entryCount_;
    if (!marks_[slot / kSlotsPerBlock].HasFreeSlot()) {
        blocksWithFreeSlot_.pop();
    }
    if (indexed_) {
        index_.Insert(slot);
    }
    MarkEntryChanged(slot);
}

void Directory::Free(Slot slot) {
    if (indexed_) {
        RemoveFromIndex(slot);
    }
    DirEntry& entry = Entry(slot);
    entry.firstBlock = kNoBlock;
    entry.size = 0;
    Marks& marks = marks_[slot / kSlotsPerBlock];
    if (!marks.HasFreeSlot()) {
        blocksWithFreeSlot_.push(slot / kSlotsPerBlock);
    }
    marks.isInUse[slot % kSlotsPerBlock] = false;
    ++marks.generations[slot % kSlotsPerBlock];
    --entryCount_;
    MarkEntryChanged(slot);
}

void Directory::MarkBlockChanged(std::size_t index) {
    MarkChanged(index, (1U << kPartCount) - 1);
}

void Directory::MarkEntryChanged(Slot slot) {
    MarkChanged(slot / kSlotsPerBlock, 1U << PartOfSlot(slot % kSlotsPerBlock));
}

void Directory::MarkChanged(std::size_t index, unsigned parts) {
    std::uint8_t& changedParts = marks_[index].changedParts;
    if (changedParts == 0) {
        changedBlocks_.push_back(index);
    }
    changedParts = static_cast<std::uint8_t>(changedParts | parts);
}

const std::vector<Directory::Change>& Directory::TakeChanges() {
    // Unsigned, the distance of an older block from the first new one is larger than any other.
    std::sort(changedBlocks_.begin(), changedBlocks_.end(),
              [this](auto a, auto b) { return a - firstNewBlock_ < b - firstNewBlock_; });
    takenChanges_.clear();
    for (const std::size_t index : changedBlocks_) {
        takenChanges_.push_back(TakeChange(index));
    }
    changedBlocks_.clear();
    firstNewBlock_ = blockCount_;
    return takenChanges_;
}

// What lies between two parts that have changed is written with them, in one piece.
Directory::Change Directory::TakeChange(std::size_t index) {
    unsigned parts = std::exchange(marks_[index].changedParts, std::uint8_t{0});
    Header& header = Block(index).header;
    if (header.inUse != 1 || header.signature != kSignature) {
        header.inUse = 1;
        header.signature = kSignature;
        parts |= 1U << kHeaderPart;
    }
    return {index, static_cast<std::size_t>(__builtin_ctz(parts)),
            static_cast<std::size_t>(31 - __builtin_clz(parts))};
}

MD5::RawDigest Directory::Digest() const {
    MD5 digest;
    for (std::size_t index = 0; index < blockCount_; ++index) {
        Block(index).AddTo(digest);
    }
    return digest.GetRawDigest();
}

// The place of the next block, which counts only when it has been entered.
DirBlock& Directory::MakeRoom() {
    if (blockCount_ == FirstOfChunk(chunks_.size())) {
        chunks_.emplace_back().reserve(std::size_t{1} << (chunks_.size() - 1));
    }
    return chunks_.back().emplace_back();
}

void Directory::Enter(const DirBlock& block) {
    Marks& marks = marks_.emplace_back();
    for (std::size_t slot = 0; slot < kSlotsPerBlock; ++slot) {
        marks.isInUse[slot] = block.entries[slot].firstBlock != kNoBlock;
        entryCount_ += marks.isInUse[slot] ? 1 : 0;
    }
    const BlockNumber number = block.header.number;
    if (number >= isDirBlock_.size()) {
        isDirBlock_.resize(std::size_t{number} + 1);
    }
    isDirBlock_[number] = true;
    ++blockCount_;
    if (marks.HasFreeSlot()) {
        blocksWithFreeSlot_.push(blockCount_ - 1);
    }
}

// Who finds a slot by its name asks for the slot's marks next; while the name is compared they can
// be on their way.
const char* Directory::NameOf(Slot slot) const {
    __builtin_prefetch(&marks_[slot / kSlotsPerBlock]);
    return Entry(slot).name;
}

void Directory::BuildIndex() const {
    index_.Reserve(entryCount_);
    for (Slot slot = NextInUse(0); slot < SlotCount(); slot = NextInUse(slot + 1)) {
        shadowed_ += index_.Insert(slot) ? 0 : 1;
    }
    indexed_ = true;
}

void Directory::RemoveFromIndex(Slot slot) {
    const std::string_view name = Entry(slot).name;
    index_.Erase(name);
    for (Slot next = shadowed_ > 0 ? NextInUse(slot + 1) : SlotCount(); next < SlotCount();
         next = NextInUse(next + 1)) {
        if (KrStdString::EqualClassic(Entry(next).name, name)) {
            index_.Insert(next);
            --shadowed_;
            return;
        }
    }
}
