#include "Descriptor.h"

#include "Interrupt.h"

#include <cerrno>
#include <initializer_list>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>

ssize_t ReadSome(int fd, char* buffer, std::size_t size) {
    while (true) {
        const ssize_t count = read(fd, buffer, size);
        // Also after a success: the end of a pipe may be the doing of the same interrupt, and no
        // end at all.
        StopIfInterrupted();
        if (count >= 0 || errno != EINTR) {
            return count;
        }
    }
}

int WriteAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t count = write(fd, data.data(), data.size());
        if (count >= 0) {
            data.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EINTR) {
            StopIfInterrupted();
        } else {
            return errno;
        }
    }
    return 0;
}

bool IsLockedElsewhere(int fd, int kind) {
    return flock(fd, kind | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

void OccupyStandardDescriptors() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) == -1) {
            // Opened the wrong way round, so that using it still fails as on a closed descriptor.
            open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

std::size_t TerminalColumns(int fd) {
    constexpr std::size_t kUsual = 80;
    winsize size{};
    return ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

std::string ErrorText(int error) {
    return std::generic_category().message(error);
}

std::string WriteErrorText(int error) {
    switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
        return ErrorText(error) + "; check the permissions there or write elsewhere";
    case ENAMETOOLONG:
        return ErrorText(error) + "; 'krstream cat' can write it under another name";
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return ErrorText(error) + "; make room or write elsewhere";
    default:
        return ErrorText(error) + "; write elsewhere, or try again";
    }
}
