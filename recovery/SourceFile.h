#pragma once

#include "blockfile/BlockFormat.h"

#include <cstdint>
#include <vector>

/// The bytes of a file that is looked over, block by block, each of which may be unreadable on its
/// own. Positions count from 1; the last block may be cut short.
class SourceFile {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    enum class Opened { Ok, Failed, InUse };

    SourceFile() = default;
    ~SourceFile();
    SourceFile(const SourceFile&) = delete;
    SourceFile& operator=(const SourceFile&) = delete;

    /// Opens a regular file that is there and takes a shared lock on it, without waiting.
    Opened Open(const char* path);

    std::uint64_t Length() const { return length_; }
    /// Number of blocks, a cut one included.
    BlockNumber BlockCount() const;
    /// How many bytes of a block the file has.
    std::size_t BytesOf(BlockNumber position) const;

    /// A block's bytes until the next call, zeros where the file ends within it; null when they
    /// cannot be read.
    const unsigned char* Read(BlockNumber position);

private:
    bool Holds(BlockNumber position) const {
        return position >= first_ && position - first_ < held_;
    }
    bool Load(BlockNumber position, std::size_t count);

    int descriptor_ = -1;
    std::uint64_t length_ = 0;
    std::vector<unsigned char> window_;
    BlockNumber first_ = BlockFormat::kFirstBlock;
    std::size_t held_ = 0;
    /// How many blocks the last miss asked for; doubles while reading goes upwards.
    std::size_t asked_ = 1;
};
