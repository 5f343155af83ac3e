#include "TALVOutl/Files.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A descriptor that is closed in the end.
class Descriptor {
public:
    explicit Descriptor(const std::string& path)
        : number_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    ~Descriptor() {
        if (IsOpen()) {
            close(number_);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool IsOpen() const { return number_ >= 0; }
    int Number() const { return number_; }

private:
    const int number_;
};

} // namespace

KrFolderKind KrProbeFolder(const std::string& path) {
    // With a separator behind it a link would be followed.
    const std::string bare = path.substr(0, path.find_last_not_of('/') + 1);
    struct stat status {};
    if (lstat(bare.empty() ? path.c_str() : bare.c_str(), &status) != 0) {
        return errno == ENOENT ? KrFolderKind::Missing : KrFolderKind::Other;
    }
    return S_ISDIR(status.st_mode) && status.st_uid == geteuid() ? KrFolderKind::Own
                                                                 : KrFolderKind::Other;
}

std::optional<std::pair<std::uint64_t, std::uint64_t>> KrFileIdentity(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return std::pair<std::uint64_t, std::uint64_t>(status.st_dev, status.st_ino);
}

bool KrMakePrivateFolder(const std::string& path) {
    return mkdir(path.c_str(), S_IRWXU) == 0;
}

std::string KrMakeTemporaryFolder(const std::string& folder) {
    std::string path = folder + "/krXXXXXX";
    return mkdtemp(path.data()) == nullptr ? std::string() : path;
}

bool KrIsFileLocked(const std::string& path) {
    const Descriptor file(path);
    return file.IsOpen() ? flock(file.Number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK
                         : errno != ENOENT && errno != ENOTDIR;
}

bool KrSync(const std::string& path) {
    const Descriptor file(path);
    return file.IsOpen() && fsync(file.Number()) == 0;
}

void KrBeginSync(const std::string& path) {
    const Descriptor file(path);
    if (file.IsOpen()) {
        sync_file_range(file.Number(), 0, 0, SYNC_FILE_RANGE_WRITE);
    }
}
