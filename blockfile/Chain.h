#pragma once

#include "blockfile/BlockFormat.h"

#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <cstdint>

/// The numbers of a chain's blocks, in order, as far as they are known. They are kept as runs of
/// numbers that follow one another: what was written in one go takes hardly any memory, however
/// long it is, and a place far into it is found without a look at much of that memory.
class Chain {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    std::size_t Size() const { return size_; }
    bool IsEmpty() const { return size_ == 0; }
    BlockNumber First() const { return runs_.front().first; }
    BlockNumber Last() const { return last_; }
    /// The number at a place below Size(). Takes time by the logarithm of the number of runs; none
    /// to speak of near the place that was asked for last.
    BlockNumber operator[](std::size_t place) const {
        if (!Holds(lastUsed_, place)) {
            lastUsed_ = FindRun(place);
        }
        return runs_[lastUsed_].first + static_cast<BlockNumber>(place - runs_[lastUsed_].begin);
    }

    /// Throws std::bad_alloc.
    void Append(BlockNumber number) {
        if (IsEmpty() || number != last_ + 1) {
            runs_.push_back({static_cast<std::uint32_t>(size_), number});
        }
        last_ = number;
        ++size_;
    }

private:
    struct Run {
        /// The place of its first number.
        std::uint32_t begin;
        BlockNumber first;
    };

    bool Holds(std::size_t run, std::size_t place) const {
        return place >= runs_[run].begin && place < EndOf(run);
    }
    std::size_t EndOf(std::size_t run) const {
        return run + 1 < runs_.size() ? runs_[run + 1].begin : size_;
    }
    std::size_t FindRun(std::size_t place) const;

    boost::container::small_vector<Run, 2> runs_;
    std::size_t size_ = 0;
    BlockNumber last_ = BlockFormat::kNoBlock;
    mutable std::size_t lastUsed_ = 0;
};
