#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include <sys/types.h>
#include <unistd.h>

/// Owns a file descriptor; -1 is none.
class UniqueFd {
public:
    explicit UniqueFd(int fd = -1) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~UniqueFd() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }

    int Get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    /// Closes it now; false when something written to it could not be kept.
    bool Close() { return close(std::exchange(fd_, -1)) == 0; }

private:
    int fd_;
};

/// read(2) that goes on after a signal, or throws Interrupted after one that ends the command.
ssize_t ReadSome(int fd, char* buffer, std::size_t size);

/// Writes all of `data`; 0 or the errno of the write that failed. Signals as in ReadSome.
int WriteAll(int fd, std::string_view data);

/// Whether another program has the open file locked; `fd` keeps a lock of the kind asked for
/// (LOCK_SH or LOCK_EX) when not.
bool IsLockedElsewhere(int fd, int kind);

/// Makes sure that the descriptors 0 to 2 are taken, so that no file opened later is mistaken for a
/// standard stream.
void OccupyStandardDescriptors();

/// Width of the terminal that `fd` is; 80 when it is none or does not know.
std::size_t TerminalColumns(int fd);

/// What an errno means.
std::string ErrorText(int error);

/// The same for a file that could not be made or written, and what may help.
std::string WriteErrorText(int error);
