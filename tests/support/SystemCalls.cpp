#include "tests/support/SystemCalls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

using SystemCalls::Fault;
using SystemCalls::Operation;

Fault fault = Fault::None;
int callsLeft = INT_MAX;
int count = 0;
std::uint64_t bytesWritten = 0;
std::string refusedCall;
std::string refusedPathEnd;
std::vector<Operation>* recorded = nullptr;
std::string recordedFolder;

int FailWith(int error) {
    errno = error;
    return -1;
}

/// Counts a call; whether the fault happens to it. `first` tells whether it is the first to fail.
bool Strikes(bool* first = nullptr) {
    ++count;
    if (fault == Fault::None || --callsLeft >= 0) {
        return false;
    }
    const bool isFirst = callsLeft == -1;
    if (first != nullptr) {
        *first = isFirst;
    }
    return isFirst || (fault != Fault::ErrorOnce && fault != Fault::ShortOnce);
}

bool IsError() {
    return fault == Fault::ErrorOnce || fault == Fault::ErrorFromNowOn;
}

/// Whether a read fails; one that is cut short asks for half of `size`.
bool ReadFails(std::size_t& size) {
    if (!IsError() && fault != Fault::ShortOnce) {
        return false;
    }
    const bool strikes = Strikes();
    size = strikes && size > 1 ? size / 2 : size;
    return strikes && IsError();
}

/// Where a descriptor's file lies; empty when nobody records it.
std::string RecordedPath(int fd) {
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t length =
        recorded == nullptr ? 0 : readlink(link.c_str(), path.data(), path.size());
    const std::string found(path.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return found.compare(0, recordedFolder.size(), recordedFolder) == 0 ? found : std::string();
}

void Note(Operation::Kind kind, const std::string& path, std::uint64_t offset = 0,
          const std::string& bytes = {}) {
    if (recorded != nullptr && !path.empty() &&
        path.compare(0, recordedFolder.size(), recordedFolder) == 0) {
        recorded->push_back({kind, path, offset, bytes});
    }
}

/// The part of a write that is done when it is cut: half of it; where a process dies, up to the end
/// of a page of the file, for the system finishes those.
std::size_t PartOf(std::size_t size, off_t offset) {
    constexpr std::size_t kPage = 4096;
    const std::size_t half = size / 2;
    const std::size_t beyondPage = (static_cast<std::size_t>(offset) + half) % kPage;
    return fault == Fault::Kill ? half - std::min(half, beyondPage) : half;
}

ssize_t Write(int fd, const void* bytes, std::size_t size, long number, off_t offset) {
    bool first = false;
    const bool strikes = Strikes(&first);
    if (strikes && IsError()) {
        return FailWith(EIO);
    }
    if (strikes && (!first || size < 2)) {
        return FailWith(ENOSPC);
    }
    const std::string path = RecordedPath(fd);
    const off_t at = number == SYS_pwrite64 ? offset : lseek(fd, 0, SEEK_CUR);
    const ssize_t done = syscall(number, fd, bytes, strikes ? PartOf(size, offset) : size, offset);
    if (strikes && fault == Fault::Kill) {
        raise(SIGKILL);
    }
    if (done > 0) {
        bytesWritten += static_cast<std::uint64_t>(done);
        Note(Operation::Kind::Write, path, static_cast<std::uint64_t>(at),
             path.empty()
                 ? ""
                 : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(done)));
    }
    return done;
}

enum class Room { Needed, NotNeeded };

/// Whether a call on a path may go on; errno says why not.
bool Permits(const char* name, const std::string& path, Room room) {
    const bool strikes = Strikes();
    if (strikes && fault == Fault::Kill) {
        raise(SIGKILL);
    }
    if (refusedCall == name && path.size() >= refusedPathEnd.size() &&
        path.substr(path.size() - refusedPathEnd.size()) == refusedPathEnd) {
        errno = EPERM;
        return false;
    }
    if (strikes && (IsError() || (room == Room::Needed && fault == Fault::DiskFull))) {
        errno = IsError() ? EIO : ENOSPC;
        return false;
    }
    return true;
}

} // namespace

void SystemCalls::Expect(Fault expected, int calls) {
    Reset();
    fault = expected;
    callsLeft = calls;
    count = 0;
    bytesWritten = 0;
}

void SystemCalls::Refuse(const std::string& call, const std::string& pathEnd) {
    refusedCall = call;
    refusedPathEnd = pathEnd;
}

void SystemCalls::Reset() {
    fault = Fault::None;
    refusedCall.clear();
}

void SystemCalls::Record(std::vector<Operation>* operations, const std::string& folder) {
    recorded = operations;
    recordedFolder = folder;
}

int SystemCalls::Count() {
    return count;
}

std::uint64_t SystemCalls::BytesWritten() {
    return bytesWritten;
}

// The linker prefers these to the C library's for all libraries of the program.
extern "C" {

ssize_t write(int fd, const void* bytes, size_t size) {
    return Write(fd, bytes, size, SYS_write, 0);
}

ssize_t pwrite(int fd, const void* bytes, size_t size, off_t offset) {
    return Write(fd, bytes, size, SYS_pwrite64, offset);
}

ssize_t writev(int fd, const iovec* pieces, int number) {
    ssize_t sum = 0;
    for (int i = 0; i < number; ++i) {
        const ssize_t done = Write(fd, pieces[i].iov_base, pieces[i].iov_len, SYS_write, 0);
        if (done < 0) {
            return done;
        }
        sum += done;
    }
    return sum;
}

ssize_t pread(int fd, void* bytes, size_t size, off_t offset) {
    return ReadFails(size) ? FailWith(EIO) : syscall(SYS_pread64, fd, bytes, size, offset);
}

ssize_t read(int fd, void* bytes, size_t size) {
    return ReadFails(size) ? FailWith(EIO) : syscall(SYS_read, fd, bytes, size);
}

int ftruncate(int fd, off_t length) noexcept {
    const auto done = static_cast<int>(syscall(SYS_ftruncate, fd, length));
    if (done == 0) {
        Note(Operation::Kind::Truncate, RecordedPath(fd), static_cast<std::uint64_t>(length));
    }
    return done;
}

int fsync(int fd) {
    if (!Permits("fsync", "", Room::NotNeeded)) {
        return -1;
    }
    // What a test writes need not outlast it.
    Note(Operation::Kind::Sync, RecordedPath(fd));
    return 0;
}

int sync_file_range(int fd, off64_t, off64_t, unsigned) {
    Note(Operation::Kind::BeginSync, RecordedPath(fd));
    return 0;
}

int mkdir(const char* path, mode_t mode) noexcept {
    return Permits("mkdir", path, Room::Needed) ? static_cast<int>(syscall(SYS_mkdir, path, mode))
                                                : -1;
}

int rename(const char* from, const char* to) noexcept {
    if (!Permits("rename", to, Room::NotNeeded)) {
        return -1;
    }
    const auto done = static_cast<int>(syscall(SYS_rename, from, to));
    if (done == 0) {
        Note(Operation::Kind::Rename, from, 0, to);
    }
    return done;
}

int unlink(const char* path) noexcept {
    if (!Permits("unlink", path, Room::NotNeeded)) {
        return -1;
    }
    const auto done = static_cast<int>(syscall(SYS_unlink, path));
    if (done == 0) {
        Note(Operation::Kind::Remove, path);
    }
    return done;
}

int rmdir(const char* path) noexcept {
    return Permits("rmdir", path, Room::NotNeeded) ? static_cast<int>(syscall(SYS_rmdir, path))
                                                   : -1;
}

} // extern "C"
