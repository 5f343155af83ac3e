#include "recovery/DirectoryScan.h"

#include <TALVOutl/Strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>
#include <string_view>

using namespace BlockFormat;

namespace {

/// Whether a time field has the form that every time has: an upper-case letter for A, a lower-case
/// one for a, a digit for 9, a digit or a blank for _.
bool IsTimeText(const char* field) {
    constexpr std::string_view kForm("Aaa Aaa _9 99:99:99 9999\n\0", kTimeSize);
    return std::equal(kForm.begin(), kForm.end(), field, [](char form, char c) {
        const bool isDigit = c >= '0' && c <= '9';
        switch (form) {
        case 'A':
            return c >= 'A' && c <= 'Z';
        case 'a':
            return c >= 'a' && c <= 'z';
        case '9':
            return isDigit;
        case '_':
            return isDigit || c == ' ';
        default:
            return c == form;
        }
    });
}

std::string TimeOf(const char* text) {
    std::string time(text);
    if (!time.empty() && time.back() == '\n') {
        time.pop_back();
    }
    return time;
}

/// Whether the slots make sense under a layout: one at least is in use, and all that are have times
/// and a first block that the file can have.
bool HasPlausibleSlots(const unsigned char* block, const DirLayout& layout, BlockNumber count) {
    bool anyInUse = false;
    for (std::size_t slot = 0; slot < kSlotsPerBlock; ++slot) {
        const unsigned char* const bytes = block + layout.SlotOffset(slot);
        const auto first = LoadLittleEndian<BlockNumber>(bytes + kFirstBlockOffset);
        const auto* const times = reinterpret_cast<const char*>(bytes);
        if (first == kNoBlock) {
            continue;
        }
        if (first > count || !IsTimeText(times + kCreatedOffset) ||
            !IsTimeText(times + kModifiedOffset)) {
            return false;
        }
        anyInUse = true;
    }
    return anyInUse;
}

/// The layout by which a directory block can be read: that of its magic, or, should that be
/// damaged, the one under which its slots make sense.
std::optional<DirLayout> LayoutOf(const unsigned char* block, BlockNumber count) {
    for (const DirLayout& layout : {kDirLayout2, kDirLayout1}) {
        if (HasMagic(block, layout)) {
            return layout;
        }
    }
    for (const DirLayout& layout : {kDirLayout2, kDirLayout1}) {
        if (HasPlausibleSlots(block, layout, count)) {
            return layout;
        }
    }
    return std::nullopt;
}

/// Unpacks a block as if its header and magic were sound.
DirBlock UnpackLeniently(const unsigned char* bytes, const DirLayout& layout) {
    constexpr Signature kSignature1 = {'B', 'l', 'o', 'c', 'k', 'F', 'i', 'l', 'e', '\0'};
    std::array<unsigned char, kBlockSize> image;
    std::copy_n(bytes, kBlockSize, image.begin());
    Header header = UnpackHeader(bytes);
    header.number = kFirstBlock;
    header.signature = layout.sizeWidth == kDirLayout1.sizeWidth ? kSignature1 : kSignature;
    PackHeader(header, image.data());
    std::copy(kMagic.begin(), kMagic.end(),
              image.begin() + static_cast<std::ptrdiff_t>(layout.MagicOffset()));
    DirBlock block{};
    block.Unpack(image.data(), kFirstBlock);
    return block;
}

} // namespace

DirectoryScan::DirectoryScan(SourceFile& file, const BlockTable& table)
    : file_(file), table_(table), isDirBlock_(table.Count()) {
    FollowChain();
    AddUnlinked();
}

void DirectoryScan::FollowChain() {
    BlockNumber number = table_.Count() > 0 ? kFirstBlock : kNoBlock;
    while (number != kNoBlock) {
        endNumber_ = number;
        const BlockNumber position = table_.PlaceOf(number);
        if (position == kNoBlock) {
            end_ = End::NoBlock;
            return;
        }
        if (IsDirBlock(position)) {
            end_ = End::Cycle;
            return;
        }
        if (!Add(number, position, true)) {
            end_ = End::NotDirectory;
            return;
        }
        number = blocks_.back().next;
    }
}

// A directory block that no link leads to is told from an entry's block that happens to look like
// one by this: an entry's block is the first of its chain or linked to by data. One that carries
// the number of a block that is in its place is a copy of it.
void DirectoryScan::AddUnlinked() {
    std::vector<bool> candidates(table_.Count());
    bool any = false;
    for (BlockNumber position = 1; position <= table_.Count(); ++position) {
        const BlockFacts& facts = table_.At(position);
        if (facts.hasMagic && facts.isInUse && (facts.isInPlace || facts.isDisplaced) &&
            !IsDirBlock(position)) {
            candidates[position - 1] = any = true;
        }
    }
    if (!any) {
        return;
    }
    DropLinkedByData(candidates);
    for (BlockNumber position = 1; position <= table_.Count(); ++position) {
        if (candidates[position - 1]) {
            Add(position, position, false);
        }
    }
}

void DirectoryScan::DropLinkedByData(std::vector<bool>& candidates) const {
    // What a block that is none links to is none either.
    const auto drop = [&](BlockNumber number) {
        BlockNumber position = table_.PlaceOf(number);
        while (position != kNoBlock && candidates[position - 1]) {
            candidates[position - 1] = false;
            position = table_.PlaceOf(table_.At(position).next);
        }
    };
    for (BlockNumber position = 1; position <= table_.Count(); ++position) {
        const BlockFacts& facts = table_.At(position);
        if (facts.isInUse && !facts.hasMagic && table_.IsCredible(position) &&
            !IsDirBlock(position)) {
            drop(facts.next);
        }
    }
    for (const Recovery::Entry& entry : entries_) {
        drop(entry.firstBlock);
    }
}

bool DirectoryScan::Add(BlockNumber number, BlockNumber position, bool isLinked) {
    const unsigned char* const bytes = table_.IsCredible(position) ? file_.Read(position) : nullptr;
    const std::optional<DirLayout> layout =
        bytes == nullptr ? std::nullopt : LayoutOf(bytes, table_.Count());
    if (!layout) {
        return false;
    }
    const DirBlock block = UnpackLeniently(bytes, *layout);
    FoundDirBlock found{number,
                        position,
                        block.header.next,
                        isLinked,
                        HasMagic(bytes, *layout),
                        block.flags,
                        block.passwordDigest,
                        0,
                        false};
    for (std::size_t slot = 0; slot < kSlotsPerBlock; ++slot) {
        const DirEntry& record = block.entries[slot];
        if (record.firstBlock != kNoBlock) {
            AddEntry(record, bytes + layout->SlotOffset(slot), number);
            ++found.entryCount;
        } else if (record.size != 0) {
            found.hasFreeSlotWithSize = true;
        }
    }
    blocks_.push_back(found);
    isDirBlock_[position - 1] = true;
    return true;
}

void DirectoryScan::AddEntry(const DirEntry& record, const unsigned char* slot,
                             BlockNumber number) {
    const auto* const texts = reinterpret_cast<const char*>(slot);
    faults_.push_back({strnlen(texts, kNameSize) == kNameSize, !IsTimeText(texts + kCreatedOffset),
                       !IsTimeText(texts + kModifiedOffset)});
    entries_.push_back({record.name, TimeOf(record.created), TimeOf(record.modified), record.size,
                        record.firstBlock, number, 0, 0,
                        KrStdString::EqualClassic(record.name, CompoundFile::kFreeListEntryName)});
}

bool DirectoryScan::ReadExact(const FoundDirBlock& found, DirBlock& block) const {
    const unsigned char* const bytes = file_.Read(found.position);
    return bytes != nullptr && block.Unpack(bytes, found.position);
}
