#include "recovery/SourceFile.h"

#include "blockfile/ReadAtLeast.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace BlockFormat;

namespace {

/// Enough that a pass over the file is bound by the disk and not by calls.
constexpr std::size_t kMostBlocks = 1024;
/// A chain may pass over a few blocks of others and still go upwards.
constexpr BlockNumber kBlocksBetween = 8;

} // namespace

SourceFile::~SourceFile() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

SourceFile::Opened SourceFile::Open(const char* path) {
    if (path == nullptr) {
        return Opened::Failed;
    }
    descriptor_ = open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    struct stat status {};
    if (descriptor_ < 0) {
        return Opened::Failed;
    }
    if (flock(descriptor_, LOCK_SH | LOCK_NB) != 0) {
        return errno == EWOULDBLOCK ? Opened::InUse : Opened::Failed;
    }
    if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
        return Opened::Failed;
    }
    length_ = static_cast<std::uint64_t>(status.st_size);
    return length_ <= std::uint64_t{kMaxBlockNumber} * kBlockSize ? Opened::Ok : Opened::Failed;
}

BlockNumber SourceFile::BlockCount() const {
    return static_cast<BlockNumber>((length_ + kBlockSize - 1) / kBlockSize);
}

std::size_t SourceFile::BytesOf(BlockNumber position) const {
    return static_cast<std::size_t>(
        std::min<std::uint64_t>(kBlockSize, length_ - OffsetOf(position)));
}

const unsigned char* SourceFile::Read(BlockNumber position) {
    if (!Holds(position)) {
        const std::uint64_t end = std::uint64_t{first_} + held_;
        const bool upwards = position >= end && position - end < kBlocksBetween;
        asked_ = upwards ? std::min(asked_ * 2, kMostBlocks) : 1;
        // Where one block of many cannot be read, the others still can, one by one.
        if (!Load(position, asked_) && !Load(position, 1)) {
            return nullptr;
        }
    }
    return window_.data() + (position - first_) * kBlockSize;
}

// Whether at least the block at `position` is in the window now.
bool SourceFile::Load(BlockNumber position, std::size_t count) {
    count = std::min<std::size_t>(count, BlockCount() - position + 1);
    if (window_.size() < count * kBlockSize) {
        window_.resize(count * kBlockSize);
    }
    const std::size_t got = ReadAtLeast(descriptor_, OffsetOf(position), window_.data(),
                                        count * kBlockSize, count * kBlockSize);
    first_ = position;
    held_ = got / kBlockSize;
    const std::size_t part = got % kBlockSize;
    if (part != 0 && part == BytesOf(static_cast<BlockNumber>(position + held_))) {
        std::memset(window_.data() + got, 0, kBlockSize - part);
        ++held_;
    }
    return held_ > 0;
}
