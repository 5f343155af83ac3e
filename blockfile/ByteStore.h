#pragma once

#include <cstddef>
#include <cstdint>

/// Where a block file's bytes live: a file of the engine's own, or a stream of the caller's.
/// Everything the engine does to its file goes through these operations. None throws.
class ByteStore {
public:
    /// Bytes that lie somewhere else.
    struct Bytes {
        const unsigned char* first = nullptr;
        std::size_t count = 0;
    };

    ByteStore() = default;
    virtual ~ByteStore() = default;
    ByteStore(const ByteStore&) = delete;
    ByteStore& operator=(const ByteStore&) = delete;

    /// Copies up to `count` bytes from `offset`; returns how many there were before the end or an
    /// error.
    virtual std::size_t Read(std::uint64_t offset, unsigned char* bytes, std::size_t count) = 0;

    /// Shows at least `needed` bytes at `offset`, a block's length at most, until the next
    /// operation; fewer when they are not all there. That `wanted` bytes from there on will be
    /// asked for is a hint, which saves calls.
    virtual Bytes View(std::uint64_t offset, std::size_t needed, std::size_t wanted) = 0;

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
