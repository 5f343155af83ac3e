#include "tests/support/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdio>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

using SystemCalls::Fault;

Fault fault = Fault::None;
int callsLeft = INT_MAX;
int count = 0;
std::uint64_t bytesWritten = 0;
std::string refusedCall;
std::string refusedPathEnd;

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
    if (first != nullptr) {
        *first = callsLeft == -1;
    }
    return true;
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
    if (strikes && (!first || size < 2)) {
        return FailWith(ENOSPC);
    }
    const ssize_t done = syscall(number, fd, bytes, strikes ? PartOf(size, offset) : size, offset);
    if (strikes && fault == Fault::Kill) {
        raise(SIGKILL);
    }
    bytesWritten += done > 0 ? static_cast<std::uint64_t>(done) : 0;
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
    if (strikes && room == Room::Needed) {
        errno = ENOSPC;
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

int fsync(int fd) {
    return Permits("fsync", "", Room::NotNeeded) ? static_cast<int>(syscall(SYS_fsync, fd)) : -1;
}

int mkdir(const char* path, mode_t mode) noexcept {
    return Permits("mkdir", path, Room::Needed) ? static_cast<int>(syscall(SYS_mkdir, path, mode))
                                                : -1;
}

int rename(const char* from, const char* to) noexcept {
    return Permits("rename", to, Room::NotNeeded) ? static_cast<int>(syscall(SYS_rename, from, to))
                                                  : -1;
}

int unlink(const char* path) noexcept {
    return Permits("unlink", path, Room::NotNeeded) ? static_cast<int>(syscall(SYS_unlink, path))
                                                    : -1;
}

int rmdir(const char* path) noexcept {
    return Permits("rmdir", path, Room::NotNeeded) ? static_cast<int>(syscall(SYS_rmdir, path))
                                                   : -1;
}

} // extern "C"
