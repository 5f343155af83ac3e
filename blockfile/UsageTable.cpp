#include "blockfile/UsageTable.h"

#include <algorithm>
#include <cstring>

using namespace BlockFormat;

namespace {

constexpr BlockNumber kInitialCapacity = 110;
/// Up to here the table doubles; above, it grows by fixed steps, so that a large file's table has
/// little slack.
constexpr BlockNumber kDoublingLimit = 10001;
constexpr BlockNumber kGrowthStep = 10000;
constexpr BlockNumber kSlack = 10;

} // namespace

UsageTable::UsageTable() : flags_(kInitialCapacity + 1) {}

void UsageTable::Set(BlockNumber number, bool inUse) {
    ExtendTo(number);
    flags_[number] = inUse ? 1 : 0;
    if (!inUse && number < hint_) {
        hint_ = number;
    } else if (inUse && number == hint_) {
        AdvanceHint();
    }
}

BlockNumber UsageTable::Allocate() {
    const BlockNumber number = hint_;
    if (number > kMaxBlockNumber) {
        return kNoBlock;
    }
    Set(number, true);
    return number;
}

bool UsageTable::IsUsed(BlockNumber number) const {
    return number <= highest_ && flags_[number] != 0;
}

BlockNumber UsageTable::CountUsed() const {
    return static_cast<BlockNumber>(std::count(flags_.begin() + 1, flags_.end(), 1));
}

void UsageTable::ExtendTo(BlockNumber number) {
    if (number > Capacity()) {
        const BlockNumber capacity = Capacity();
        const BlockNumber grown = capacity < kDoublingLimit ? capacity * 2 : capacity + kGrowthStep;
        flags_.resize(std::size_t{grown < number ? number + kSlack : grown} + 1);
    }
    highest_ = std::max(highest_, number);
}

void UsageTable::AdvanceHint() {
    const unsigned char* const from = flags_.data() + hint_;
    const std::size_t count = highest_ - hint_ + 1;
    const void* const free = std::memchr(from, 0, count);
    hint_ = free == nullptr
                ? highest_ + 1
                : static_cast<BlockNumber>(static_cast<const unsigned char*>(free) - flags_.data());
}
