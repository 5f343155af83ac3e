#pragma once

#include "blockfile/BlockFormat.h"
#include "blockfile/ByteStore.h"

#include <boost/thread/lock_types.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <memory>
#include <string>

/// A file seen as an array of numbered blocks. Blocks are bytes here; what they mean is decided
/// above.
class BlockFile {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    /// Reads blocks where they lie. As long as it lives nobody else can read, so that the seek and
    /// the read of two readers on one shared stream never interleave.
    class Reading {
    public:
        explicit Reading(BlockFile& file) : file_(file), lock_(file.mutex_) {}

        /// At least `needed` bytes of a block, until the next operation on the file; fewer when
        /// they cannot be read. That `wanted` bytes from there on will be asked for is a hint,
        /// which saves calls.
        ByteStore::Bytes View(BlockNumber number, std::size_t needed, std::size_t wanted) {
            return file_.bytes_->View(BlockFormat::OffsetOf(number), needed, wanted);
        }

    private:
        BlockFile& file_;
        const boost::unique_lock<boost::recursive_mutex> lock_;
    };

    void Open(std::unique_ptr<ByteStore> bytes, std::uint64_t length);
    void Close();

    /// Length in bytes, everything written included.
    std::uint64_t Length() const { return length_; }
    std::uint64_t BlockCount() const { return length_ / BlockFormat::kBlockSize; }
    bool Contains(BlockNumber number) const { return number > 0 && number <= BlockCount(); }

    /// Writes a block. Blocks missing between the end of the file and this one are first written as
    /// padding.
    bool Write(BlockNumber number, const unsigned char* block);

    /// Writes bytes of a block that is there, which rely on what was written before. They must not
    /// overtake it where the block is still on its way in an older form.
    bool Overwrite(BlockNumber number, std::size_t offset, const unsigned char* bytes,
                   std::size_t count);
    bool Flush();

    /// All bytes of the underlying file or stream, to its very end.
    std::string Content();

private:
    bool Append(const unsigned char* block);

    std::unique_ptr<ByteStore> bytes_;
    std::uint64_t length_ = 0;
    boost::recursive_mutex mutex_;
};
