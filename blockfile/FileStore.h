#pragma once

#include "blockfile/ByteStore.h"

#include <cstdlib>
#include <memory>

/// The bytes of an ordinary file, through one window over the descriptor: reads are served from it,
/// and neighbouring writes are gathered in it into one system call.
class FileStore final : public ByteStore {
public:
    /// Opens a regular file, creating it empty (mode 0600) when it is missing, and locks it against
    /// other programs: shared for reading, exclusively for reading and writing. Null when the file
    /// cannot be had, without waiting. What is no regular file is closed as it was opened, unread.
    static std::unique_ptr<FileStore> Open(const char* path, bool readOnly);

    /// The same for a file that is there and whose path is in canonical form as it is written.
    /// After null, Open may still have the file.
    static std::unique_ptr<FileStore> OpenCanonical(const char* path, bool readOnly);

    ~FileStore() override;

    /// The file's length when it was opened.
    std::uint64_t Length() const { return length_; }

    std::size_t Read(std::uint64_t offset, unsigned char* bytes, std::size_t count) override;
    Bytes View(std::uint64_t offset, std::size_t needed, std::size_t wanted) override;
    bool Write(std::uint64_t offset, const unsigned char* bytes, std::size_t count) override;
    bool KeepOrder(std::uint64_t offset) override;
    bool Flush() override;

private:
    struct Release {
        void operator()(unsigned char* memory) const { std::free(memory); }
    };
    using Window = std::unique_ptr<unsigned char, Release>;

    /// What comes of a file that was opened, or not.
    static std::unique_ptr<FileStore> Lock(int descriptor, bool readOnly);
    FileStore(int descriptor, std::uint64_t length);

    /// The window's bytes from `offset` to its end; 0 when `offset` lies outside.
    std::size_t Available(std::uint64_t offset) const;
    unsigned char* At(std::uint64_t offset) const {
        return window_.get() + (offset - windowStart_);
    }
    bool Load(std::uint64_t offset, std::size_t needed, std::size_t wanted);
    bool Reserve(std::size_t size);
    bool GoesOn(std::uint64_t offset, std::size_t count) const;
    bool MakeRoom(std::uint64_t offset, std::size_t count);
    bool MoveWindow(std::uint64_t offset);
    void DropPartOfBlock() const;
    bool GoesUpwards(std::uint64_t offset) const;
    bool FollowsPending(std::uint64_t offset) const;
    bool RewritesPending(std::uint64_t offset) const;
    bool JoinsPending(std::uint64_t offset, std::size_t count) const;
    bool FitsWindow(std::uint64_t offset, std::size_t count) const;

    const int descriptor_;
    const std::uint64_t length_;
    /// Where the file ends on disk.
    std::uint64_t writtenLength_;
    Window window_;
    std::size_t windowSize_ = 0;
    std::uint64_t windowStart_ = 0;
    std::size_t windowLength_ = 0;
    /// How much the last miss read; doubles while reading is sequential.
    std::size_t readSize_ = 0;
    /// The run of window bytes not yet written, as offsets into the window; empty when equal.
    std::size_t pendingBegin_ = 0;
    std::size_t pendingEnd_ = 0;
    /// What was written to the run was written upwards, or again. A run of which that is not true
    /// lies in one page.
    bool pendingIsUpwards_ = true;
    /// The run holds bytes that were not written, but stand in the file as they are.
    bool pendingHasGaps_ = false;
};
