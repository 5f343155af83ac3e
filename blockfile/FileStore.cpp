#include "blockfile/FileStore.h"

#include "blockfile/BlockFormat.h"
#include "blockfile/ReadAtLeast.h"

#include <TALVOutl/Paths.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Enough for reads here and there.
constexpr std::size_t kSmallWindow = std::size_t{8} * 1024;
/// Large enough that a sequential pass is bound by copying, not by calls, and small enough for a
/// processor's cache.
constexpr std::size_t kLargestRead = std::size_t{512} * 1024;
/// Writes gain nothing from more: what they fill is copied from a nearer cache.
constexpr std::size_t kLargestWrite = std::size_t{128} * 1024;
/// What the system takes over whole or not at all, should the program be killed in a write.
constexpr std::uint64_t kPage = 4096;
/// What is read where reading does not go on: the blocks of a scattered chain lie alone, and most
/// of what is read with one is read for nothing. Where it does go on, the next call takes the rest.
constexpr std::size_t kLargestJump = std::size_t{16} * 1024;
/// A gap of a few blocks is still a pass in file order: other entries' blocks lie between.
constexpr std::size_t kSmallGap = std::size_t{8} * 1024;
/// What stays in the window before a write that moves it: a small entry's directory block, and the
/// one that leads to that.
constexpr std::uint64_t kKeptBefore = 2 * kPage;

/// The window for reads of `size` bytes. Who looks at no more than a file's first block takes
/// memory of a size that an allocator has at hand.
std::size_t WindowFor(std::size_t size) {
    if (size <= BlockFormat::kBlockSize) {
        return BlockFormat::kBlockSize;
    }
    return size <= kSmallWindow ? kSmallWindow : kLargestRead;
}

/// A pipe or a device makes nobody wait, and no terminal becomes the program's own.
int FlagsFor(bool readOnly) {
    return O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (readOnly ? O_RDONLY : O_RDWR);
}

/// Opens what exists first, so that reading asks for no right to write.
int OpenOrCreate(const char* path, bool readOnly) {
    const int flags = FlagsFor(readOnly);
    const int existing = open(path, flags);
    return existing >= 0 || errno != ENOENT ? existing
                                            : open(path, flags | O_CREAT, S_IRUSR | S_IWUSR);
}

} // namespace

std::unique_ptr<FileStore> FileStore::Open(const char* path, bool readOnly) {
    return path == nullptr ? nullptr : Lock(OpenOrCreate(path, readOnly), readOnly);
}

std::unique_ptr<FileStore> FileStore::OpenCanonical(const char* path, bool readOnly) {
    return Lock(KrOpenCanonical(path, FlagsFor(readOnly)), readOnly);
}

std::unique_ptr<FileStore> FileStore::Lock(int descriptor, bool readOnly) {
    if (descriptor < 0) {
        return nullptr;
    }
    struct stat status {};
    if (flock(descriptor, (readOnly ? LOCK_SH : LOCK_EX) | LOCK_NB) != 0 ||
        fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(descriptor);
        return nullptr;
    }
    auto* const store =
        new (std::nothrow) FileStore(descriptor, static_cast<std::uint64_t>(status.st_size));
    if (store == nullptr) {
        close(descriptor);
    }
    return std::unique_ptr<FileStore>(store);
}

FileStore::FileStore(int descriptor, std::uint64_t length)
    : descriptor_(descriptor), length_(length), writtenLength_(length) {}

FileStore::~FileStore() {
    Flush();
    close(descriptor_);
}

std::size_t FileStore::Read(std::uint64_t offset, unsigned char* bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count && (Available(offset) > 0 || Load(offset, 1, count - done))) {
        const std::size_t piece = std::min(count - done, Available(offset));
        std::memcpy(bytes + done, At(offset), piece);
        done += piece;
        offset += piece;
    }
    return done;
}

ByteStore::Bytes FileStore::View(std::uint64_t offset, std::size_t needed, std::size_t wanted) {
    const bool isThere = Available(offset) >= needed || Load(offset, needed, wanted);
    return isThere ? Bytes{At(offset), Available(offset)} : Bytes();
}

bool FileStore::Write(std::uint64_t offset, const unsigned char* bytes, std::size_t count) {
    if (!GoesOn(offset, count) && !MakeRoom(offset, count)) {
        return false;
    }
    const auto at = static_cast<std::size_t>(offset - windowStart_);
    std::memcpy(At(offset), bytes, count);
    windowLength_ = std::max(windowLength_, at + count);
    pendingBegin_ = std::min(pendingBegin_, at);
    pendingEnd_ = std::max(pendingEnd_, at + count);
    return true;
}

// Elsewhere than in the pending run they come later anyway.
bool FileStore::KeepOrder(std::uint64_t offset) {
    const std::uint64_t begin = windowStart_ + pendingBegin_;
    const std::uint64_t end = windowStart_ + pendingEnd_;
    const bool isPending = offset >= begin && offset < end;
    return !isPending || begin / kPage == (end - 1) / kPage || Flush();
}

bool FileStore::Flush() {
    std::size_t at = pendingBegin_;
    const std::size_t end = pendingEnd_;
    // Forgotten at once: what could not be written is not tried again behind the engine's back.
    pendingBegin_ = pendingEnd_ = 0;
    while (at < end) {
        const ssize_t written = pwrite(descriptor_, window_.get() + at, end - at,
                                       static_cast<off_t>(windowStart_ + at));
        if (written < 0 && errno != EINTR) {
            windowLength_ = 0;
            DropPartOfBlock();
            return false;
        }
        at += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
        writtenLength_ = std::max(writtenLength_, windowStart_ + at);
    }
    return true;
}

// A write that failed may have left a part of a block at the end, with which the file could not be
// opened any more.
void FileStore::DropPartOfBlock() const {
    const std::uint64_t part = writtenLength_ % BlockFormat::kBlockSize;
    if (part != 0) {
        static_cast<void>(!ftruncate(descriptor_, static_cast<off_t>(writtenLength_ - part)));
    }
}

std::size_t FileStore::Available(std::uint64_t offset) const {
    return offset >= windowStart_ && offset < windowStart_ + windowLength_
               ? static_cast<std::size_t>(windowStart_ + windowLength_ - offset)
               : 0;
}

bool FileStore::Load(std::uint64_t offset, std::size_t needed, std::size_t wanted) {
    if (!Flush()) {
        return false;
    }
    // The block that the last read ended in may be wanted once more.
    const std::uint64_t windowEnd = windowStart_ + windowLength_;
    const bool sequential =
        offset + BlockFormat::kBlockSize > windowEnd && offset < windowEnd + kSmallGap;
    const std::size_t grown = std::max(2 * readSize_, BlockFormat::kBlockSize);
    readSize_ = sequential ? std::min(std::max(grown, wanted), kLargestRead)
                           : std::max(needed, std::min(wanted, kLargestJump));
    if (!Reserve(WindowFor(readSize_))) {
        return false;
    }
    windowStart_ = offset;
    windowLength_ = ReadAtLeast(descriptor_, offset, window_.get(), needed, readSize_);
    return windowLength_ > 0;
}

// Makes the window at least so large; false when there is no memory for it. A large one is made of
// whole pages, because copying from the system's pages to memory that begins elsewhere in a page
// takes up to three times as long on some processors.
bool FileStore::Reserve(std::size_t size) {
    if (windowSize_ >= size) {
        return true;
    }
    Window larger(static_cast<unsigned char*>(size > kSmallWindow ? std::aligned_alloc(kPage, size)
                                                                  : std::malloc(size)));
    if (larger == nullptr) {
        return false;
    }
    std::copy_n(window_.get(), windowLength_, larger.get());
    window_ = std::move(larger);
    windowSize_ = size;
    return true;
}

// Whether bytes go on from a run that is written upwards, or into it, as most do. Nothing changes
// then but the run's end.
bool FileStore::GoesOn(std::uint64_t offset, std::size_t count) const {
    const std::uint64_t begin = windowStart_ + pendingBegin_;
    const std::uint64_t end = windowStart_ + pendingEnd_;
    return begin < end && pendingIsUpwards_ && (offset == end || RewritesPending(offset)) &&
           offset + count - begin <= kLargestWrite && offset + count <= windowStart_ + windowSize_;
}

// Makes the window such that bytes can be written into it, with those that are pending or alone.
bool FileStore::MakeRoom(std::uint64_t offset, std::size_t count) {
    if (!Reserve(kSmallWindow)) {
        return false;
    }
    if (!JoinsPending(offset, count) || !FitsWindow(offset, count)) {
        if (!Flush() || (!FitsWindow(offset, count) && !MoveWindow(offset))) {
            return false;
        }
        pendingBegin_ = pendingEnd_ = static_cast<std::size_t>(offset - windowStart_);
        pendingIsUpwards_ = true;
        pendingHasGaps_ = false;
    }
    pendingIsUpwards_ = GoesUpwards(offset);
    pendingHasGaps_ = pendingHasGaps_ || offset > windowStart_ + pendingEnd_;
    return true;
}

// Moves the window to a write. What lies shortly before it is kept: it is often written next.
bool FileStore::MoveWindow(std::uint64_t offset) {
    if (!Reserve(kLargestWrite)) {
        return false;
    }
    const bool goesOn = offset >= windowStart_ && offset <= windowStart_ + windowLength_;
    const std::uint64_t start =
        goesOn ? std::max(windowStart_, offset - std::min(offset, kKeptBefore)) : offset;
    windowLength_ = static_cast<std::size_t>(offset - start);
    if (goesOn) {
        std::memmove(window_.get(), At(start), windowLength_);
    }
    windowStart_ = start;
    return true;
}

// Whether a run that was written upwards still is with bytes at `offset`.
bool FileStore::GoesUpwards(std::uint64_t offset) const {
    return pendingIsUpwards_ && (FollowsPending(offset) || RewritesPending(offset));
}

// Behind the run, with no whole page in between: what lies there, which is not on its way, is then
// sent once more as it stands, to pages that are written anyway.
bool FileStore::FollowsPending(std::uint64_t offset) const {
    const std::uint64_t end = windowStart_ + pendingEnd_;
    return offset >= end &&
           (pendingBegin_ == pendingEnd_ || offset / kPage <= (end - 1) / kPage + 1);
}

// Not where there are gaps: what is written into one would overtake what was written behind it.
bool FileStore::RewritesPending(std::uint64_t offset) const {
    return !pendingHasGaps_ && offset >= windowStart_ + pendingBegin_ &&
           offset < windowStart_ + pendingEnd_;
}

// Whether bytes may be sent together with those that are pending: where they go on upwards from
// them, or where one page takes both, in whatever order.
bool FileStore::JoinsPending(std::uint64_t offset, std::size_t count) const {
    const std::uint64_t begin = std::min(windowStart_ + pendingBegin_, offset);
    const std::uint64_t end = std::max(windowStart_ + pendingEnd_, offset + count);
    const bool inOnePage = begin / kPage == (end - 1) / kPage;
    return pendingBegin_ < pendingEnd_ && end - begin <= kLargestWrite &&
           (inOnePage || GoesUpwards(offset));
}

bool FileStore::FitsWindow(std::uint64_t offset, std::size_t count) const {
    return offset >= windowStart_ && offset <= windowStart_ + windowLength_ &&
           offset - windowStart_ + count <= windowSize_;
}
