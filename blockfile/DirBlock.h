#pragma once

#include "blockfile/BlockFormat.h"

#include <TALVOkrstream/CompoundFile.h>

#include <array>
#include <cstdint>

class MD5;

/// A directory block in memory: three entry records and, in the file's first block, the password's
/// digest and the flags of the whole file.
struct DirBlock {
    // In the order that takes the least memory.
    std::array<DirEntry, BlockFormat::kSlotsPerBlock> entries;
    BlockFormat::Header header;
    std::array<unsigned char, BlockFormat::kReservedSize> reserved;
    std::array<unsigned char, BlockFormat::kDigestSize> passwordDigest;
    std::uint16_t flags;

    /// Reads a block of either version. False when the bytes are not the directory block `number`;
    /// the record is then unspecified. Texts that fill their field are cut by one byte for the
    /// closing NUL.
    bool Unpack(const unsigned char* block, BlockFormat::BlockNumber number);

    /// Writes the version 2 layout.
    void Pack(unsigned char* block) const {
        PackParts(BlockFormat::kHeaderPart, BlockFormat::kRestPart, block);
    }
    /// Writes the parts from `first` to `last` to their places in a block.
    void PackParts(std::size_t first, std::size_t last, unsigned char* block) const;

    /// Feeds the block's share of the directory digest.
    void AddTo(MD5& digest) const;
};
