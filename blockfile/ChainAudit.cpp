#include "blockfile/ChainAudit.h"

#include "blockfile/BlockHeads.h"

using namespace BlockFormat;

std::optional<HeaderScan> HeaderScan::Of(BlockFile& file) {
    HeaderScan scan;
    scan.blocks.reserve(static_cast<std::size_t>(file.BlockCount() + 1));
    scan.blocks.resize(1);
    BlockHeads heads(file);
    const auto last = static_cast<BlockNumber>(file.BlockCount());
    for (BlockNumber number = 1; number <= last; ++number) {
        const unsigned char* const head = heads.Of(number);
        if (head == nullptr) {
            return std::nullopt;
        }
        if (NumberOf(head) != number || !HasSignature(head)) {
            return std::nullopt;
        }
        scan.blocks.push_back(
            {NextOf(head), head[kInUseOffset] != 0, UsedOf(head) <= kPayloadSize});
    }
    return scan;
}

namespace {

class ChainWalk {
public:
    ChainWalk(const HeaderScan& scan, const Directory& directory, ChainAudit& audit)
        : blocks_(scan.blocks), directory_(directory), audit_(audit), reached_(blocks_.size()) {}

    bool Reached(BlockNumber number) const { return reached_[number]; }

    void Follow(BlockNumber firstBlock) {
        BlockNumber previous = kNoBlock;
        for (BlockNumber number = firstBlock; number != kNoBlock; number = blocks_[number].next) {
            if (number >= blocks_.size()) {
                if (!audit_.promised.insert(number).second) {
                    audit_.contested.insert(number);
                }
                return;
            }
            if (directory_.HoldsBlock(number) || !blocks_[number].payloadFits) {
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
    const std::vector<HeaderScan::Block>& blocks_;
    const Directory& directory_;
    ChainAudit& audit_;
    std::vector<bool> reached_;
};

} // namespace

ChainAudit::ChainAudit(const HeaderScan& scan, const Directory& directory,
                       std::vector<unsigned char>& used) {
    ChainWalk walk(scan, directory, *this);
    for (auto slot = directory.NextInUse(0); slot; slot = directory.NextInUse(*slot + 1)) {
        walk.Follow(directory.Entry(*slot).firstBlock);
    }
    used.resize(scan.blocks.size());
    for (BlockNumber number = 1; number < scan.blocks.size(); ++number) {
        used[number] =
            scan.blocks[number].inUse || directory.HoldsBlock(number) || walk.Reached(number) ? 1
                                                                                              : 0;
    }
}
