#include "recovery/BlockTable.h"

#include <algorithm>

using namespace BlockFormat;

bool HasMagic(const unsigned char* block, const DirLayout& layout) {
    return std::equal(kMagic.begin(), kMagic.end(), block + layout.MagicOffset());
}

namespace {

BlockFacts FactsOf(const unsigned char* block, BlockNumber position) {
    BlockFacts facts{};
    const Header header = UnpackHeader(block);
    const int version = VersionOf(header.signature);
    facts.next = header.next;
    facts.used = static_cast<std::uint16_t>(UsedOf(block));
    facts.isReadable = true;
    facts.isInPlace = header.number == position;
    facts.isSigned = version != 0;
    facts.isInUse = header.inUse != 0;
    facts.hasOddFlag = header.inUse > 1;
    facts.hasMagic = HasMagic(block, kDirLayout2) || HasMagic(block, kDirLayout1);
    facts.isPadding = facts.isSigned && header.number == position - 1 && header.inUse == 0 &&
                      header.next == kNoBlock && facts.used == 0;
    return facts;
}

/// Leaves a block that the file has `size` bytes of no more used bytes than there are. Of an
/// enciphered one, the beginning of a cipher block is nothing.
void CutOff(BlockFacts& facts, std::size_t size, bool isEnciphered) {
    const std::size_t held = std::max(size, kPayloadOffset) - kPayloadOffset;
    if (facts.used > held) {
        facts.used = static_cast<std::uint16_t>(isEnciphered ? held / 8 * 8 : held);
        facts.isCut = true;
    }
}

} // namespace

BlockTable::BlockTable(SourceFile& file, const Recovery::Progress& progress) {
    const BlockNumber count = file.BlockCount();
    std::vector<Claim> claims;
    bool isEnciphered = false;
    facts_.reserve(count);
    for (BlockNumber position = 1; position <= count; ++position) {
        const unsigned char* const block = file.Read(position);
        facts_.push_back(block == nullptr ? BlockFacts{} : FactsOf(block, position));
        BlockFacts& facts = facts_.back();
        if (position == kFirstBlock && facts.hasMagic) {
            isEnciphered =
                (LoadLittleEndian<std::uint16_t>(block + kFlagsOffset) & kEncryptedFlag) != 0;
        }
        if (file.BytesOf(position) < kBlockSize) {
            CutOff(facts, file.BytesOf(position), isEnciphered);
        }
        hasAnySigned_ = hasAnySigned_ || facts.isSigned;
        if (facts.isSigned && facts.isInUse && !facts.isInPlace) {
            claims.emplace_back(NumberOf(block), position);
        }
        constexpr BlockNumber kBlocksPerCall = 1024;
        if (progress && (position % kBlocksPerCall == 0 || position == count)) {
            progress(std::uint64_t{(position - 1) % kBlocksPerCall + 1} * kBlockSize);
        }
    }
    Place(claims);
}

// A block that is where it belongs is not replaced by one that only says so. A number past the end
// is as a rule nothing but damaged; when a link leads to it, blocks before it are missing from the
// file.
void BlockTable::Place(const std::vector<Claim>& claims) {
    const std::unordered_set<BlockNumber> beyond =
        claims.empty() ? std::unordered_set<BlockNumber>() : LinksBeyondEnd();
    for (const auto& [number, position] : claims) {
        const bool isMissing = number > Count() ? beyond.count(number) != 0
                                                : number != kNoBlock && !At(number).isInPlace;
        if (isMissing && displaced_.emplace(number, position).second) {
            facts_[position - 1].isDisplaced = true;
        }
    }
}

std::unordered_set<BlockNumber> BlockTable::LinksBeyondEnd() const {
    std::unordered_set<BlockNumber> beyond;
    for (const BlockFacts& facts : facts_) {
        if (facts.isSigned && facts.isInUse && facts.next > Count()) {
            beyond.insert(facts.next);
        }
    }
    return beyond;
}

BlockNumber BlockTable::PlaceOf(BlockNumber number) const {
    if (number == kNoBlock) {
        return kNoBlock;
    }
    if (number <= Count() && At(number).isInPlace) {
        return number;
    }
    const auto found = displaced_.find(number);
    if (found != displaced_.end()) {
        return found->second;
    }
    return number <= Count() && !At(number).isDisplaced ? number : kNoBlock;
}
