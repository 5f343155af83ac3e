#include "blockfile/FileStore.h"

#include "blockfile/BlockFormat.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Large enough that a sequential pass is bound by copying, not by calls, and small enough for a
/// processor's cache.
constexpr std::size_t kWindowSize = std::size_t{128} * 1024;
/// What a read somewhere else fetches: the few blocks that a small read at random touches.
constexpr std::size_t kSmallRead = std::size_t{8} * 1024;

/// Looks before opening, because opening a device can already have an effect.
bool IsRegularOrMissing(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 ? S_ISREG(status.st_mode) : errno == ENOENT;
}

/// Opens what exists first, so that reading asks for no right to write.
int OpenOrCreate(const char* path, bool readOnly) {
    const int mode = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (readOnly ? O_RDONLY : O_RDWR);
    const int existing = open(path, mode);
    return existing >= 0 || errno != ENOENT ? existing
                                            : open(path, mode | O_CREAT, S_IRUSR | S_IWUSR);
}

} // namespace

std::unique_ptr<FileStore> FileStore::Open(const char* path, bool readOnly) {
    const int descriptor = IsRegularOrMissing(path) ? OpenOrCreate(path, readOnly) : -1;
    if (descriptor < 0) {
        return nullptr;
    }
    struct stat status {};
    if (flock(descriptor, (readOnly ? LOCK_SH : LOCK_EX) | LOCK_NB) != 0 ||
        fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(descriptor);
        return nullptr;
    }
    return std::unique_ptr<FileStore>(
        new FileStore(descriptor, static_cast<std::uint64_t>(status.st_size)));
}

FileStore::FileStore(int descriptor, std::uint64_t length)
    : descriptor_(descriptor),
      length_(length),
      writtenLength_(length),
      window_(new unsigned char[kWindowSize]) {}

FileStore::~FileStore() {
    Flush();
    close(descriptor_);
}

std::size_t FileStore::Read(std::uint64_t offset, unsigned char* bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count && (Available(offset) > 0 || Load(offset))) {
        const std::size_t piece = std::min(count - done, Available(offset));
        std::memcpy(bytes + done, window_.get() + (offset - windowStart_), piece);
        done += piece;
        offset += piece;
    }
    return done;
}

bool FileStore::Write(std::uint64_t offset, const unsigned char* bytes, std::size_t count) {
    if (!JoinsPending(offset) || !FitsWindow(offset, count)) {
        if (!Flush()) {
            return false;
        }
        if (!FitsWindow(offset, count)) {
            windowStart_ = offset;
            windowLength_ = 0;
        }
        pendingBegin_ = pendingEnd_ = static_cast<std::size_t>(offset - windowStart_);
    }
    const auto at = static_cast<std::size_t>(offset - windowStart_);
    std::memcpy(window_.get() + at, bytes, count);
    windowLength_ = std::max(windowLength_, at + count);
    pendingEnd_ = std::max(pendingEnd_, at + count);
    return true;
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

bool FileStore::Load(std::uint64_t offset) {
    if (!Flush()) {
        return false;
    }
    const std::uint64_t windowEnd = windowStart_ + windowLength_;
    // A gap of a few blocks is still a pass in file order: other entries' blocks lie between.
    const bool sequential = offset >= windowEnd && offset - windowEnd < kSmallRead;
    readSize_ = sequential ? std::clamp(readSize_ * 2, kSmallRead, kWindowSize) : kSmallRead;
    ssize_t got = 0;
    do {
        got = pread(descriptor_, window_.get(), readSize_, static_cast<off_t>(offset));
    } while (got < 0 && errno == EINTR);
    windowStart_ = offset;
    windowLength_ = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    return windowLength_ > 0;
}

bool FileStore::JoinsPending(std::uint64_t offset) const {
    return pendingBegin_ < pendingEnd_ && offset >= windowStart_ + pendingBegin_ &&
           offset <= windowStart_ + pendingEnd_;
}

bool FileStore::FitsWindow(std::uint64_t offset, std::size_t count) const {
    return offset >= windowStart_ && offset <= windowStart_ + windowLength_ &&
           offset - windowStart_ + count <= kWindowSize;
}
