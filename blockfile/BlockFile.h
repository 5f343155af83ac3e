#pragma once

#include "blockfile/BlockFormat.h"
#include "blockfile/ByteStore.h"

#include <boost/thread/recursive_mutex.hpp>

#include <memory>
#include <string>

/// A file seen as an array of numbered blocks. Blocks are bytes here; what they mean is decided
/// above.
class BlockFile {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    void Open(std::unique_ptr<ByteStore> bytes, std::uint64_t length);
    void Close();

    /// Length in bytes, everything written included.
    std::uint64_t Length() const { return length_; }
    std::uint64_t BlockCount() const { return length_ / BlockFormat::kBlockSize; }
    bool Contains(BlockNumber number) const { return number > 0 && number <= BlockCount(); }

    /// Reads the first `count` bytes of a block; false when not all are there.
    bool Read(BlockNumber number, unsigned char* bytes, std::size_t count);

    /// Writes a block. Blocks missing between the end of the file and this one are first written as
    /// padding.
    bool Write(BlockNumber number, const unsigned char* block);

    bool Flush();

    /// All bytes of the underlying file or stream, to its very end.
    std::string Content();

private:
    bool Append(const unsigned char* block);

    std::unique_ptr<ByteStore> bytes_;
    std::uint64_t length_ = 0;
    /// Keeps the seek and the read of two readers on one shared stream from interleaving.
    boost::recursive_mutex mutex_;
};
