#include "blockfile/ChainAudit.h"

#include "blockfile/BlockHeads.h"

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
        if (UsedOf(head) > kPayloadSize && !directory.HoldsBlock(number)) {
            scan.overfull.push_back(number);
        }
    }
    return scan;
}

namespace {

class ChainWalk {
public:
    ChainWalk(const HeaderScan& scan, const Directory& directory, ChainAudit& audit)
        : next_(scan.next), audit_(audit), marks_(next_.size()) {
        for (const BlockNumber number : scan.overfull) {
            marks_[number] = Mark::NoData;
        }
        for (std::size_t index = 0; index < directory.BlockCount(); ++index) {
            marks_[directory.Block(index).header.number] = Mark::NoData;
        }
    }

    bool Reached(BlockNumber number) const { return marks_[number] == Mark::Reached; }

    void Follow(BlockNumber firstBlock) {
        BlockNumber previous = kNoBlock;
        for (BlockNumber number = firstBlock; number != kNoBlock; number = next_[number]) {
            if (number >= next_.size()) {
                if (!audit_.promised.insert(number).second) {
                    audit_.contested.insert(number);
                }
                return;
            }
            if (marks_[number] == Mark::NoData) {
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
        }
    }

private:
    enum class Mark : unsigned char {
        None,
        Reached,
        /// A block of the directory, or one that no payload can be read from.
        NoData
    };

    const std::vector<BlockNumber>& next_;
    ChainAudit& audit_;
    std::vector<Mark> marks_;
};

} // namespace

ChainAudit::ChainAudit(HeaderScan& scan, const Directory& directory) {
    ChainWalk walk(scan, directory, *this);
    for (auto slot = directory.NextInUse(0); slot; slot = directory.NextInUse(*slot + 1)) {
        walk.Follow(directory.Entry(*slot).firstBlock);
    }
    for (BlockNumber number = 1; number < scan.inUse.size(); ++number) {
        if (walk.Reached(number)) {
            scan.inUse[number] = 1;
        }
    }
    for (std::size_t index = 0; index < directory.BlockCount(); ++index) {
        scan.inUse[directory.Block(index).header.number] = 1;
    }
}
