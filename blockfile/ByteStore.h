#pragma once

#include <cstddef>
#include <cstdint>

/// Where a block file's bytes live: a file of the engine's own, or a stream of the caller's.
/// Everything the engine does to its file goes through these operations. None throws.
class ByteStore {
public:
    ByteStore() = default;
    virtual ~ByteStore() = default;
    ByteStore(const ByteStore&) = delete;
    ByteStore& operator=(const ByteStore&) = delete;

    /// Copies up to `count` bytes from `offset`; returns how many there were before the end or an
    /// error.
    virtual std::size_t Read(std::uint64_t offset, unsigned char* bytes, std::size_t count) = 0;

    /// Shows a block's length of bytes at `offset`, until the next operation; null when they are
    /// not all there. That `wanted` bytes from there on will be asked for is a hint, which saves
    /// calls.
    virtual const unsigned char* View(std::uint64_t offset, std::size_t wanted) = 0;

    /// Copies the first `size` bytes of each block of `count` blocks from `offset` on, one behind
    /// the other; returns of how many blocks before the end or an error. What stands between is
    /// passed over.
    virtual std::size_t ReadHeads(std::uint64_t offset, std::size_t size, std::size_t count,
                                  unsigned char* heads) = 0;

    /// Takes `count` bytes to be written at `offset`, which is at most one past the last byte.
    /// False on an error, also one of an earlier write that was still pending. Bytes reach the disk
    /// in the order of the calls, except that bytes which are still pending when they are written
    /// again reach it in their newest form, and that what one page of the file takes may reach it
    /// at once.
    virtual bool Write(std::uint64_t offset, const unsigned char* bytes, std::size_t count) = 0;

    /// To be called before bytes at `offset` are written that rely on what was written before:
    /// these are not sent together with it, unless one page takes all. False on an error.
    virtual bool KeepOrder(std::uint64_t offset) = 0;

    /// Hands everything pending to the operating system; false on an error.
    virtual bool Flush() = 0;
};
