#include "blockfile/DirBlock.h"

#include <TALVOutl/ByteOrder.h>
#include <TALVOutl/MD5.h>

#include <algorithm>
#include <cstring>

using namespace BlockFormat;

// The three texts lie in a record as they do on disk, and are moved together.
constexpr std::size_t kTexts = offsetof(DirEntry, name);
constexpr std::size_t kTextsSize = kFirstBlockOffset;
static_assert(offsetof(DirEntry, created) == kTexts + kCreatedOffset &&
              offsetof(DirEntry, modified) == kTexts + kModifiedOffset && kNameOffset == 0 &&
              kModifiedOffset + sizeof(DirEntry::modified) == kTextsSize);

namespace {

void UnpackEntry(const unsigned char* slot, const DirLayout& layout, DirEntry& entry) {
    std::memcpy(reinterpret_cast<unsigned char*>(&entry) + kTexts, slot, kTextsSize);
    entry.name[sizeof entry.name - 1] = '\0';
    entry.created[sizeof entry.created - 1] = '\0';
    entry.modified[sizeof entry.modified - 1] = '\0';
    entry.firstBlock = LoadLittleEndian<std::uint32_t>(slot + kFirstBlockOffset);
    entry.size = layout.sizeWidth == 4 ? LoadLittleEndian<std::uint32_t>(slot + kSizeOffset)
                                       : LoadLittleEndian<std::uint64_t>(slot + kSizeOffset);
}

void PackEntry(const DirEntry& entry, unsigned char* slot) {
    std::memcpy(slot, reinterpret_cast<const unsigned char*>(&entry) + kTexts, kTextsSize);
    StoreLittleEndian(slot + kFirstBlockOffset, entry.firstBlock);
    StoreLittleEndian(slot + kSizeOffset, entry.size);
}

/// What of a block enters the directory's digest, gathered so that it enters in one piece.
class DigestInput {
public:
    void AddText(const char* text, std::size_t fieldSize) {
        AddBytes(text, strnlen(text, fieldSize));
    }
    template <typename Integer>
    void AddInteger(Integer value) {
        StoreLittleEndian(bytes_.data() + size_, value);
        size_ += sizeof value;
    }
    void AddBytes(const void* bytes, std::size_t count) {
        std::memcpy(bytes_.data() + size_, bytes, count);
        size_ += count;
    }
    void EnterInto(MD5& digest) const { digest.Update(bytes_.data(), size_); }

private:
    std::array<unsigned char, kBlockSize> bytes_;
    std::size_t size_ = 0;
};

} // namespace

bool DirBlock::Unpack(const unsigned char* block, BlockNumber number) {
    header = UnpackHeader(block);
    const int version = VersionOf(header.signature);
    if (header.number != number || version == 0) {
        return false;
    }
    const DirLayout& layout = version == 1 ? kDirLayout1 : kDirLayout2;
    if (!std::equal(kMagic.begin(), kMagic.end(), block + layout.MagicOffset())) {
        return false;
    }
    for (std::size_t slot = 0; slot < kSlotsPerBlock; ++slot) {
        UnpackEntry(block + layout.SlotOffset(slot), layout, entries[slot]);
    }
    std::copy_n(block + layout.ReservedOffset(), kReservedSize, reserved.begin());
    std::copy_n(block + kDigestOffset, kDigestSize, passwordDigest.begin());
    flags = LoadLittleEndian<std::uint16_t>(block + kFlagsOffset);
    return true;
}

void DirBlock::PackParts(std::size_t first, std::size_t last, unsigned char* block) const {
    if (first == kHeaderPart) {
        PackHeader({header.number, header.inUse, kSignature, header.next}, block);
    }
    for (std::size_t slot = 0; slot < kSlotsPerBlock; ++slot) {
        if (PartOfSlot(slot) >= first && PartOfSlot(slot) <= last) {
            PackEntry(entries[slot], block + kDirLayout2.SlotOffset(slot));
        }
    }
    if (last == kRestPart) {
        std::memcpy(block + kDirLayout2.MagicOffset(), kMagic.data(), kMagicSize);
        std::memcpy(block + kDirLayout2.ReservedOffset(), reserved.data(), kReservedSize);
        std::memcpy(block + kDigestOffset, passwordDigest.data(), kDigestSize);
        StoreLittleEndian(block + kFlagsOffset, flags);
    }
}

void DirBlock::AddTo(MD5& digest) const {
    DigestInput input;
    input.AddInteger(header.number);
    input.AddInteger(header.inUse);
    input.AddText(header.signature.data(), header.signature.size());
    input.AddInteger(header.next);
    for (const DirEntry& entry : entries) {
        input.AddText(entry.name, sizeof entry.name);
        input.AddText(entry.created, sizeof entry.created);
        input.AddText(entry.modified, sizeof entry.modified);
        input.AddInteger(entry.firstBlock);
        input.AddInteger(entry.size);
    }
    input.AddText(kMagic.data(), kMagic.size());
    input.AddBytes(reserved.data(), reserved.size());
    input.AddBytes(passwordDigest.data(), passwordDigest.size());
    input.AddInteger(flags);
    input.EnterInto(digest);
}
