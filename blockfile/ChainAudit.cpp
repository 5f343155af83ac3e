#include "blockfile/ChainAudit.h"

#include "blockfile/BlockHeads.h"

using namespace BlockFormat;

std::optional<HeaderScan> HeaderScan::Of(BlockFile& file, const Directory& directory) {
    const auto last = static_cast<BlockNumber>(file.BlockCount());
    HeaderScan scan;
    scan.next.reserve(std::size_t{last} + 1);
    scan.inUse.reserve(std::size_t{last} + 1);
    scan.next.push_back(kNoBlock);
    scan.inUse.push_back(0);
    BlockHeads heads(file);
    for (BlockNumber number = 1; number <= last; ++number) {
        const unsigned char* const head = heads.Of(number);
        if (head == nullptr || NumberOf(head) != number || !HasSignature(head)) {
            return std::nullopt;
        }
        scan.next.push_back(NextOf(head));
        scan.inUse.push_back(head[kInUseOffset] != 0 ? 1 : 0);
        if (UsedOf(head) > kPayloadSize && !directory.HoldsBlock(number)) {
            scan.overfull.insert(number);
        }
    }
    return scan;
}

namespace {

class ChainWalk {
public:
    ChainWalk(const HeaderScan& scan, const Directory& directory, ChainAudit& audit)
        : scan_(scan), directory_(directory), audit_(audit), reached_(scan.next.size()) {}

    bool Reached(BlockNumber number) const { return reached_[number]; }

    void Follow(BlockNumber firstBlock) {
        BlockNumber previous = kNoBlock;
        for (BlockNumber number = firstBlock; number != kNoBlock; number = scan_.next[number]) {
            if (number >= scan_.next.size()) {
                if (!audit_.promised.insert(number).second) {
                    audit_.contested.insert(number);
                }
                return;
            }
            if (directory_.HoldsBlock(number) || scan_.overfull.count(number) != 0) {
                audit_.contested.insert(previous);
                return;
            }
            // The rest of a shared tail is followed once more, each block of it being shared as
            // well.
            if (reached_[number] && !audit_.contested.insert(number).second) {
                return;
            }
            reached_[number] = true;
            previous = number;
        }
    }

private:
    const HeaderScan& scan_;
    const Directory& directory_;
    ChainAudit& audit_;
    std::vector<bool> reached_;
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
