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
constexpr BlockNumber kGroupSize = 4096;

} // namespace

UsageTable::UsageTable() : flags_(kInitialCapacity + 1), usedInGroup_(1) {}

UsageTable::UsageTable(const std::vector<unsigned char>& flags) : UsageTable() {
    if (flags.size() > 1) {
        ExtendTo(static_cast<BlockNumber>(flags.size() - 1));
        std::copy(flags.begin() + 1, flags.end(), flags_.begin() + 1);
        for (std::size_t group = 0; group < usedInGroup_.size(); ++group) {
            const auto first = flags_.begin() + static_cast<std::ptrdiff_t>(group * kGroupSize);
            const auto size = std::min<std::ptrdiff_t>(kGroupSize, flags_.end() - first);
            usedInGroup_[group] = static_cast<std::uint32_t>(std::count(first, first + size, 1));
        }
        hint_ = FirstFreeFrom(hint_);
    }
}

void UsageTable::Change(BlockNumber number, bool inUse) {
    ExtendTo(number);
    if (IsUsed(number) != inUse) {
        flags_[number] = inUse ? 1 : 0;
        inUse ? ++usedInGroup_[number / kGroupSize] : --usedInGroup_[number / kGroupSize];
    }
    if (!inUse && number < hint_) {
        hint_ = number;
    } else if (inUse && number == hint_) {
        hint_ = FirstFreeFrom(number + 1);
    }
}

BlockNumber UsageTable::Allocate() {
    const BlockNumber number = hint_;
    if (number > last_) {
        return kNoBlock;
    }
    Set(number, true);
    return number;
}

BlockNumber UsageTable::CountUsed() const {
    return static_cast<BlockNumber>(std::count(flags_.begin() + 1, flags_.end(), 1));
}

void UsageTable::ExtendTo(BlockNumber number) {
    if (number > Capacity()) {
        const BlockNumber capacity = Capacity();
        const BlockNumber grown = capacity < kDoublingLimit ? capacity * 2 : capacity + kGrowthStep;
        flags_.resize(std::size_t{grown < number ? number + kSlack : grown} + 1);
        usedInGroup_.resize(Capacity() / kGroupSize + 1);
    }
    highest_ = std::max(highest_, number);
}

// The lowest free number not below `number`, or the one after the highest.
BlockNumber UsageTable::FirstFreeFrom(BlockNumber number) const {
    while (number <= highest_) {
        const BlockNumber group = number / kGroupSize;
        const BlockNumber end = std::min((group + 1) * kGroupSize, highest_ + 1);
        const void* const free = usedInGroup_[group] == kGroupSize
                                     ? nullptr
                                     : std::memchr(flags_.data() + number, 0, end - number);
        if (free != nullptr) {
            return static_cast<BlockNumber>(static_cast<const unsigned char*>(free) -
                                            flags_.data());
        }
        number = end;
    }
    return highest_ + 1;
}
