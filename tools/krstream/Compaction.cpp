#include "Compaction.h"

#include "Names.h"

#include <algorithm>

namespace {

constexpr std::uint64_t kMaxBlocks = 0x7FFFFFFE;
constexpr std::uint64_t kEntriesPerDirBlock = 3;

/// The record of free blocks is 21 bytes and one for each block, its own blocks included: each of
/// these holds 1003 bytes and so describes 1002 others.
std::uint64_t RecordBlocks(std::uint64_t otherBlocks) {
    constexpr std::uint64_t kRecordHead = 21;
    constexpr std::uint64_t kOthersDescribed = 1002;
    return (otherBlocks + kRecordHead + kOthersDescribed - 1) / kOthersDescribed;
}

/// Blocks of a fresh file with `count` entries, whose data take `dataBlocks`.
std::uint64_t FreshBlocks(std::uint64_t count, std::uint64_t dataBlocks) {
    // The record of free blocks is one entry more, so the division always rounds up.
    const std::uint64_t others = dataBlocks + count / kEntriesPerDirBlock + 1;
    return others + RecordBlocks(others);
}

} // namespace

std::uint64_t ReclaimableBytes(OpenFile& file, const std::vector<Entry>& entries) {
    std::uint64_t count = 0;
    std::uint64_t dataBlocks = 0;
    for (const Entry& entry : entries) {
        if (!IsFreeListName(entry.name)) {
            ++count;
            // Sizes come from the file, which may claim anything.
            dataBlocks = std::min(kMaxBlocks, dataBlocks + std::min(kMaxBlocks, entry.Blocks()));
        }
    }
    // A file that nothing was written to stays empty; a password is written to it.
    const bool staysEmpty = count == 0 && !file.HasPassword();
    const std::uint64_t fresh = staysEmpty ? 0 : FreshBlocks(count, dataBlocks) * kBlockSize;
    const std::uint64_t size = file.Size();
    return size - std::min(size, fresh);
}
