#pragma once

#include "blockfile/BlockFormat.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// A data block, held as the 1024 bytes that stand on disk, so that reading and writing one copies
/// nothing twice. A new object's bytes are undefined until Reset is called or a block is read into
/// Image.
class DataBlock {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    // Not defaulted: make_unique would then clear bytes that are overwritten anyway.
    DataBlock() {} // NOLINT(modernize-use-equals-default)

    /// An empty block of a live chain, the last of it so far.
    void Reset(BlockNumber number);

    unsigned char* Image() { return image_.data(); }
    const unsigned char* Image() const { return image_.data(); }
    unsigned char* Payload() { return image_.data() + BlockFormat::kPayloadOffset; }
    const unsigned char* Payload() const { return image_.data() + BlockFormat::kPayloadOffset; }

    BlockNumber Number() const { return BlockFormat::NumberOf(image_.data()); }
    bool IsInUse() const { return image_[BlockFormat::kInUseOffset] != 0; }
    void SetInUse(bool inUse) { image_[BlockFormat::kInUseOffset] = inUse ? 1 : 0; }
    BlockNumber Next() const { return BlockFormat::NextOf(image_.data()); }
    void SetNext(BlockNumber next);
    /// Meaningful payload bytes.
    std::size_t Used() const { return BlockFormat::UsedOf(image_.data()); }
    void SetUsed(std::size_t used);

    /// Zeroes the payload past the used bytes, so that no bytes of another block or of the heap
    /// reach the disk.
    void ClearUnused();

private:
    std::array<unsigned char, BlockFormat::kBlockSize> image_;
};
