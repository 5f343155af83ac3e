#pragma once

#include <TALVOutl/ByteOrder.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// The on-disk layout of a block file. Every offset of the format stands here and nowhere else;
/// docs/format.md shows the same layout as tables and a picture.
namespace BlockFormat {

/// Block n, counted from 1, is the file's bytes (n - 1) * 1024 to n * 1024 - 1; 0 means no block.
using BlockNumber = std::uint32_t;
constexpr BlockNumber kNoBlock = 0;
constexpr BlockNumber kFirstBlock = 1;
constexpr std::size_t kBlockSize = 1024;
/// The usage table counts blocks in signed 32-bit numbers, which bounds a file at 2 TiB.
constexpr BlockNumber kMaxBlockNumber = 0x7FFFFFFE;

constexpr std::uint64_t OffsetOf(BlockNumber number) {
    return (std::uint64_t{number} - 1) * kBlockSize;
}

// Header of every block.
constexpr std::size_t kSignatureSize = 10;
constexpr std::size_t kNumberOffset = 0;
constexpr std::size_t kInUseOffset = kNumberOffset + 4;
constexpr std::size_t kSignatureOffset = kInUseOffset + 1;
constexpr std::size_t kNextOffset = kSignatureOffset + kSignatureSize;
constexpr std::size_t kHeaderSize = kNextOffset + 4;
static_assert(kHeaderSize == 19);

// Data block. What stands before its payload is its head.
constexpr std::size_t kUsedOffset = kHeaderSize;
constexpr std::size_t kPayloadOffset = kUsedOffset + 2;
constexpr std::size_t kHeadSize = kPayloadOffset;
constexpr std::size_t kPayloadSize = 1003;
static_assert(kPayloadOffset + kPayloadSize == kBlockSize);

// Directory block: three slots, the magic, reserved bytes, the password's digest, flags.
constexpr std::size_t kSlotsPerBlock = 3;
constexpr std::size_t kMagicSize = 15;
constexpr std::size_t kReservedSize = 9;
constexpr std::size_t kDigestSize = 16;
constexpr std::size_t kDigestOffset = 1006;
constexpr std::size_t kFlagsOffset = kDigestOffset + kDigestSize;
constexpr std::uint16_t kEncryptedFlag = 1;
static_assert(kFlagsOffset + 2 == kBlockSize);

// Directory slot.
constexpr std::size_t kNameSize = 257;
constexpr std::size_t kTimeSize = 26;
constexpr std::size_t kNameOffset = 0;
constexpr std::size_t kCreatedOffset = kNameOffset + kNameSize;
constexpr std::size_t kModifiedOffset = kCreatedOffset + kTimeSize;
constexpr std::size_t kFirstBlockOffset = kModifiedOffset + kTimeSize;
constexpr std::size_t kSizeOffset = kFirstBlockOffset + 4;

// The parts of a directory block that change one without the other, in the order in which they
// stand: its header, the slots, the rest.
constexpr std::size_t kHeaderPart = 0;
constexpr std::size_t PartOfSlot(std::size_t slot) {
    return kHeaderPart + 1 + slot;
}
constexpr std::size_t kRestPart = PartOfSlot(kSlotsPerBlock);
constexpr std::size_t kPartCount = kRestPart + 1;

/// What the two versions of the directory block do not share: the width of a slot's size field, and
/// with it the places of the slots, of the magic and of the reserved bytes. Digest and flags do not
/// move.
struct DirLayout {
    std::size_t sizeWidth;

    constexpr std::size_t SlotSize() const { return kSizeOffset + sizeWidth; }
    constexpr std::size_t SlotOffset(std::size_t slot) const {
        return kHeaderSize + slot * SlotSize();
    }
    constexpr std::size_t MagicOffset() const { return SlotOffset(kSlotsPerBlock); }
    constexpr std::size_t ReservedOffset() const { return MagicOffset() + kMagicSize; }
    /// Where a part begins, and the one before it ends.
    constexpr std::size_t PartOffset(std::size_t part) const {
        return part == kHeaderPart  ? 0
               : part == kPartCount ? kBlockSize
                                    : SlotOffset(part - PartOfSlot(0));
    }
};
constexpr DirLayout kDirLayout1{4};
constexpr DirLayout kDirLayout2{8};
static_assert(kDirLayout1.SlotSize() == 317 && kDirLayout2.SlotSize() == 321);
static_assert(kDirLayout1.MagicOffset() == 970 && kDirLayout2.MagicOffset() == 982);
static_assert(kDirLayout1.ReservedOffset() + 21 == kDigestOffset);
static_assert(kDirLayout2.ReservedOffset() + kReservedSize == kDigestOffset);
static_assert(kDirLayout2.PartOffset(kRestPart) == kDirLayout2.MagicOffset());

// Content of the free-list entry: the directory's digest, the highest block number H, then H + 1
// flags. The entry's recorded size is one less than its content.
constexpr std::size_t kFreeListHighestOffset = kDigestSize;
constexpr std::size_t kFreeListHeadSize = kFreeListHighestOffset + 4;
constexpr std::uint64_t FreeListContentSize(BlockNumber highest) {
    return kFreeListHeadSize + std::uint64_t{highest} + 1;
}
constexpr std::uint64_t FreeListRecordedSize(BlockNumber highest) {
    return FreeListContentSize(highest) - 1;
}

/// The blocks that so many payload bytes fill.
constexpr std::size_t BlocksFor(std::size_t bytes) {
    return (bytes + kPayloadSize - 1) / kPayloadSize;
}

/// How many bytes such blocks take up to the last of the payload bytes, one behind the other.
constexpr std::size_t ExtentOf(std::size_t bytes) {
    return bytes + BlocksFor(bytes) * kPayloadOffset;
}

/// How many payload bytes of an encrypted file's block are enciphered: the used bytes rounded up to
/// whole cipher blocks, or down where the payload has no room for the last one.
constexpr std::size_t EncipheredLength(std::size_t used) {
    const std::size_t rounded = (used + 7) / 8 * 8;
    return rounded <= kPayloadSize ? rounded : kPayloadSize / 8 * 8;
}
static_assert(EncipheredLength(992) == 992 && EncipheredLength(993) == 1000);
static_assert(EncipheredLength(1003) == 1000 && EncipheredLength(0) == 0);

using Signature = std::array<char, kSignatureSize>;
constexpr Signature kSignature = {'B', 'l', 'o', 'c', 'k', ' ', ' ', ' ', '2', '\0'};
constexpr std::array<char, kMagicSize> kMagic = {'K', 'r', 'C', 'o', 'm', 'p', 'o', 'u',
                                                 'n', 'd', 'F', 'i', 'l', 'e', '\0'};

struct Header {
    BlockNumber number;
    std::uint8_t inUse;
    Signature signature;
    BlockNumber next;
};

Header UnpackHeader(const unsigned char* block);
void PackHeader(const Header& header, unsigned char* block);

inline BlockNumber NumberOf(const unsigned char* block) {
    return LoadLittleEndian<BlockNumber>(block + kNumberOffset);
}
inline BlockNumber NextOf(const unsigned char* block) {
    return LoadLittleEndian<BlockNumber>(block + kNextOffset);
}
/// Meaningful payload bytes of a data block.
inline std::size_t UsedOf(const unsigned char* block) {
    return LoadLittleEndian<std::uint16_t>(block + kUsedOffset);
}
/// Whether a data block read at position `number` may be believed: it carries that number and no
/// more used bytes than a payload has.
inline bool IsSoundDataBlock(const unsigned char* block, BlockNumber number) {
    return NumberOf(block) == number && UsedOf(block) <= kPayloadSize;
}

/// The format version that a signature says, 1 or 2; 0 for a block that is not of this format.
int VersionOf(const Signature& signature);
/// Whether a block says that it is of this format.
inline bool HasSignature(const unsigned char* block) {
    return std::memcmp(block + kSignatureOffset, kSignature.data(), kSignatureSize) == 0 ||
           VersionOf(UnpackHeader(block).signature) != 0;
}

} // namespace BlockFormat
