#include "blockfile/ChainAudit.h"

#include "blockfile/BlockHeads.h"

#include <algorithm>

using namespace BlockFormat;

std::optional<HeaderScan> HeaderScan::Of(BlockFile& file, const Directory& directory) {
    const auto last = static_cast<BlockNumber>(file.BlockCount());
    HeaderScan scan;
    scan.next.resize(std::size_t{last} + 1);
    scan.inUse.resize(std::size_t{last} + 1);
    BlockHeads heads(file);
    for (BlockNumber number = 1; number <= last; ++number) {
        const unsigned char* const head = heads.Of(number);
        if (head == nullptr || NumberOf(head) != number || !HasSignature(head)) {
            return std::nullopt;
        }
        scan.next[number] = NextOf(head);
        scan.inUse[number] = head[kInUseOffset] != 0 ? 1 : 0;
        const bool isOverfull = UsedOf(head) > kPayloadSize;
        const bool isUnderfull = UsedOf(head) < kPayloadSize && NextOf(head) != kNoBlock;
        if ((isOverfull || isUnderfull) && !directory.HoldsBlock(number)) {
            (isOverfull ? scan.overfull : scan.underfull).push_back(number);
        }
    }
    return scan;
}

namespace {

class ChainWalk {
public:
    ChainWalk(const HeaderScan& scan, const Directory& directory, ChainAudit& audit)
        : next_(scan.next), underfull_(scan.underfull), audit_(audit), marks_(next_.size()) {
        for (const BlockNumber number : scan.overfull) {
            marks_[number] = Mark::NoData;
        }
        for (std::size_t index = 0; index < directory.BlockCount(); ++index) {
            marks_[directory.Block(index).header.number] = Mark::NoData;
        }
    }

    bool Reached(BlockNumber number) const { return marks_[number] == Mark::Reached; }

    /// The part of a chain that the entry's size needs.
    void Follow(const DirEntry& entry) {
        BlockNumber previous = kNoBlock;
        BlockNumber number = entry.firstBlock;
        for (std::uint64_t left = entry.size / kPayloadSize + 1; left > 0 && number != kNoBlock;
             --left) {
            if (number >= next_.size()) {
                if (!audit_.promised.insert(number).second) {
                    audit_.contested.insert(number);
                }
                return;
            }
            if (IsNoData(number)) {
                audit_.contested.insert(previous);
                return;
            }
            // The rest of a shared tail is followed once more, each block of it being shared as
            // well.
            if (Reached(number) && !audit_.contested.insert(number).second) {
                return;
            }
            marks_[number] = Mark::Reached;
            previous = number;
            number = next_[number];
        }
        if (number != kNoBlock) {
            lastBlocks_.push_back(previous);
        }
    }

    /// What is linked behind that, as far as nobody else has it.
    void FollowRests() {
        for (const BlockNumber last : lastBlocks_) {
            audit_.contested.count(last) == 0 ? FollowRest(last) : FollowSharedRest(last);
        }
    }

private:
    enum class Mark : unsigned char {
        None,
        Reached,
        /// A block of the directory, or one that no payload can be read from.
        NoData
    };

    void FollowRest(BlockNumber last) {
        BlockNumber number = next_[last];
        while (number != kNoBlock && Take(number)) {
            last = number;
            number = NextOf(number);
        }
        if (number != kNoBlock) {
            (WasFilled(last) ? audit_.ends : audit_.contested).insert(last);
        }
    }

    // What is the rest of one chain may be what another one needs, so nothing is cut off. Whoever
    // else has it shares it, too.
    void FollowSharedRest(BlockNumber last) {
        for (BlockNumber number = next_[last];
             number != kNoBlock && !IsNoData(number) && audit_.contested.insert(number).second;
             number = NextOf(number)) {
            Take(number);
        }
    }

    bool IsNoData(BlockNumber number) const {
        return number < next_.size() && marks_[number] == Mark::NoData;
    }
    BlockNumber NextOf(BlockNumber number) const {
        return number < next_.size() ? next_[number] : kNoBlock;
    }
    /// A writer links a block when it has filled it. Any other link is damage, to be left alone.
    bool WasFilled(BlockNumber number) const {
        return !std::binary_search(underfull_.begin(), underfull_.end(), number);
    }
    bool Take(BlockNumber number) {
        if (number >= next_.size()) {
            return audit_.promised.insert(number).second;
        }
        const bool isFree = marks_[number] == Mark::None;
        if (isFree) {
            marks_[number] = Mark::Reached;
        }
        return isFree;
    }

    const std::vector<BlockNumber>& next_;
    const std::vector<BlockNumber>& underfull_;
    ChainAudit& audit_;
    std::vector<Mark> marks_;
    /// Blocks that an entry's size needs last, and that lead on.
    std::vector<BlockNumber> lastBlocks_;
};

} // namespace

ChainAudit::ChainAudit(HeaderScan& scan, const Directory& directory) {
    ChainWalk walk(scan, directory, *this);
    for (Directory::Slot slot = directory.NextInUse(0); slot < directory.SlotCount();
         slot = directory.NextInUse(slot + 1)) {
        walk.Follow(directory.Entry(slot));
    }
    walk.FollowRests();
    for (BlockNumber number = 1; number < scan.inUse.size(); ++number) {
        if (walk.Reached(number)) {
            scan.inUse[number] = 1;
        }
    }
    for (std::size_t index = 0; index < directory.BlockCount(); ++index) {
        scan.inUse[directory.Block(index).header.number] = 1;
    }
    // A chain may lead to one that is marked free.
    for (const BlockNumber number : scan.overfull) {
        scan.inUse[number] = 1;
    }
}
