#include "blockfile/ReadAtLeast.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

std::size_t ReadAtLeast(int descriptor, std::uint64_t offset, unsigned char* bytes,
                        std::size_t least, std::size_t most) {
    std::size_t done = 0;
    while (done < least) {
        const ssize_t got =
            pread(descriptor, bytes + done, most - done, static_cast<off_t>(offset + done));
        if (got == 0 || (got < 0 && errno != EINTR)) {
            break;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    }
    return done;
}
