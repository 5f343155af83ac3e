#include "blockfile/BlockHeads.h"

#include <algorithm>

using namespace BlockFormat;

namespace {

/// Enough that what a call costs is the bytes that it passes.
constexpr std::size_t kMostHeads = 512;
/// A walk may pass over a few blocks of others and still go upwards.
constexpr BlockNumber kPassedOver = 8;

} // namespace

void BlockHeads::Load(BlockNumber number) {
    const std::uint64_t end = std::uint64_t{first_} + held_;
    const bool upwards = number >= end && number - end < kPassedOver;
    asked_ = upwards ? std::clamp(asked_ * 2, std::size_t{2}, kMostHeads) : 1;
    heads_.resize(asked_ * kHeadSize);
    first_ = number;
    held_ = file_.ReadHeads(number, kHeadSize, asked_, heads_.data());
}
