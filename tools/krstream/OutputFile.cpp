#include "OutputFile.h"

#include "OpenFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

std::string ResolveLinks(const std::string& path) {
    std::error_code error;
    const fs::path resolved = fs::canonical(path, error);
    return error ? path : resolved.native();
}

fs::path FolderOf(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    return folder.empty() ? "." : folder;
}

mode_t DefaultMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

/// Gives `fd` the owner, as far as allowed, and the permission bits of the file at `target`, or
/// those of a new file.
int TakeOverPermissions(int fd, const std::string& target) {
    struct stat replaced {};
    if (stat(target.c_str(), &replaced) != 0) {
        return fchmod(fd, DefaultMode());
    }
    // Only the superuser can give a file away; for everybody else the owner is the same anyway or
    // stays theirs.
    static_cast<void>(!fchown(fd, replaced.st_uid, replaced.st_gid));
    return fchmod(fd, replaced.st_mode & 07777U);
}

void SyncFolder(const fs::path& path) {
    const UniqueFd fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    fsync(fd.Get());
}

} // namespace

UniqueFd HoldReplaced(const std::string& path, bool force) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return UniqueFd();
    }
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw Failure(path, "is not a file, so it is not replaced; take another name");
    }
    if (!force) {
        throw Failure(path, "is there already; use --force to replace it");
    }
    UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!fd) {
        throw Failure(path, "cannot be opened: " + ErrorText(errno) +
                                "; check its permissions or take another name");
    }
    if (IsLockedElsewhere(fd.Get(), LOCK_EX)) {
        throw InUseFailure(path);
    }
    return fd;
}

UniqueFd HoldTarget(const std::string& file, const std::string& target, bool force) {
    RequireRegularFile(file, KrStreamE::ReadOnly);
    std::error_code error;
    if (fs::equivalent(file, target, error)) {
        throw Failure(target, "is FILE itself, which stays as it is; take another name");
    }
    return HoldReplaced(target, force);
}

OutputFile::OutputFile(const std::string& target, Existing existing)
    : target_(ResolveLinks(target)),
      existing_(existing),
      temporary_((FolderOf(target_) / ".krstream-XXXXXX").native()),
      descriptor_(mkostemp(temporary_.data(), O_CLOEXEC)) {
    if (!descriptor_) {
        throw Failure(target, "no file can be made in its folder: " + ErrorText(errno) +
                                  "; check the folder");
    }
}

OutputFile::~OutputFile() {
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
    }
}

void OutputFile::PutInPlace() {
    // Not earlier: who may not write the target could not open the new file by its name either.
    if (TakeOverPermissions(descriptor_.Get(), target_) != 0) {
        throw WriteFailure(target_);
    }
    // The only copy of what the old file held must not be lost to a power failure.
    if (existing_ == Existing::Replace && fsync(descriptor_.Get()) != 0) {
        throw WriteFailure(target_);
    }
    Rename();
    temporary_.clear();
    if (existing_ == Existing::Replace) {
        SyncFolder(FolderOf(target_));
    }
}

void OutputFile::Rename() const {
    const unsigned flags = existing_ == Existing::Refuse ? RENAME_NOREPLACE : 0U;
    int result = renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target_.c_str(), flags);
    if (result != 0 && errno == EINVAL) {
        // A file system that cannot refuse to replace; that nothing was there has been seen before.
        result = rename(temporary_.c_str(), target_.c_str());
    }
    if (result != 0) {
        throw Failure(target_,
                      "cannot be put in place: " + ErrorText(errno) + "; check the folder");
    }
}
