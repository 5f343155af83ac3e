#include "TALVOutl/Paths.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

namespace fs = boost::filesystem;

/// As many links as the system itself follows in one path.
constexpr int kMaxLinks = 40;

/// Whether each element of an absolute path is a name.
bool HasPlainElements(std::string_view path) {
    std::size_t end = 0;
    for (std::size_t at = 0; at < path.size(); at = end) {
        end = std::min(path.find('/', at + 1), path.size());
        const std::string_view element = path.substr(at + 1, end - at - 1);
        if (element.empty() || element == "." || element == "..") {
            return false;
        }
    }
    return true;
}

// Visits the elements one by one rather than asking for the canonical form of what exists: a link
// whose target is still missing has to be followed too, or the path's form would change as soon as
// the file is made. The path is split as text because the library takes "//a" for a network name.
std::string ResolveAbsolute(std::string pending) {
    std::string resolved;
    std::size_t at = 0;
    int links = 0;
    while (at < pending.size()) {
        const std::size_t end = std::min(pending.find('/', at), pending.size());
        const std::string element = pending.substr(at, end - at);
        at = end + 1;
        if (element.empty() || element == ".") {
            continue;
        }
        if (element == "..") {
            resolved.erase(std::min(resolved.rfind('/'), resolved.size()));
            continue;
        }
        const std::size_t parentLength = resolved.size();
        resolved.append("/").append(element);
        if (fs::symlink_status(resolved).type() != fs::symlink_file) {
            continue;
        }
        if (++links > kMaxLinks) {
            return {};
        }
        const std::string target = fs::read_symlink(resolved).string();
        resolved.resize(target.front() == '/' ? 0 : parentLength);
        pending.replace(0, std::min(at, pending.size()), target + '/');
        at = 0;
    }
    return resolved.empty() ? "/" : resolved;
}

} // namespace

std::string KrGetCanonicalPath(const char* path) {
    if (path == nullptr || *path == '\0') {
        return {};
    }
    // One call does for a path that exists.
    std::array<char, PATH_MAX> existing;
    if (realpath(path, existing.data()) != nullptr) {
        return existing.data();
    }
    try {
        return ResolveAbsolute(*path == '/' ? path : (fs::current_path() / path).string());
    } catch (const fs::filesystem_error&) {
        return {};
    }
}

// Not every C library has a function for this call. A system that does not know it refuses it.
int KrOpenCanonical(const char* path, int flags) {
    if (path == nullptr || *path != '/' || !HasPlainElements(path)) {
        return -1;
    }
    open_how how{};
    how.flags = static_cast<unsigned>(flags | O_LARGEFILE);
    how.resolve = RESOLVE_NO_SYMLINKS;
    return static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path, &how, sizeof how));
}

bool KrFileExist(const char* path) {
    if (path == nullptr) {
        return false;
    }
    boost::system::error_code error;
    return fs::exists(path, error);
}
