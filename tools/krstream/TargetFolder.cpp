#include "TargetFolder.h"

#include "ExitStatus.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

constexpr mode_t kFileMode = 0666;
constexpr mode_t kFolderMode = 0777;

NotExtracted Refused(const std::string& what) {
    return {what, NotExtracted::Reason::Refused};
}

NotExtracted SystemError(const std::string& what) {
    return {what + ": " + WriteErrorText(errno), NotExtracted::Reason::Error};
}

UniqueFd OpenFolder(int parent, const std::string& name) {
    return UniqueFd(openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

UniqueFd OpenOrMakeFolder(int parent, const std::string& name) {
    UniqueFd fd = OpenFolder(parent, name);
    if (!fd && errno == ENOENT && mkdirat(parent, name.c_str(), kFolderMode) == 0) {
        fd = OpenFolder(parent, name);
    }
    if (!fd && (errno == ENOTDIR || errno == ELOOP)) {
        throw Refused("not extracted, a link or file is in the way at folder " + Printable(name) +
                      "; remove that or use another -C");
    }
    if (!fd) {
        throw SystemError("not extracted, folder " + Printable(name) + " cannot be made");
    }
    return fd;
}

UniqueFd MakeFile(int folder, const std::string& name) {
    return UniqueFd(openat(folder, name.c_str(),
                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
}

} // namespace

TargetFile::TargetFile(int folder, std::string name, bool mayReplace)
    : folder_(folder), name_(std::move(name)), writtenAs_(name_), fd_(MakeFile(folder_, name_)) {
    if (fd_) {
        return;
    }
    if (errno != EEXIST) {
        throw SystemError("not extracted");
    }
    if (!mayReplace) {
        throw Refused("not extracted, it is there already; use -f to replace it");
    }
    OpenBeside();
}

void TargetFile::OpenBeside() {
    struct stat existing {};
    if (fstatat(folder_, name_.c_str(), &existing, AT_SYMLINK_NOFOLLOW) != 0) {
        throw SystemError("not extracted");
    }
    if (S_ISDIR(existing.st_mode)) {
        throw Refused("not extracted, a folder of this name is there; remove it first");
    }
    if (S_ISREG(existing.st_mode)) {
        const UniqueFd fd(
            openat(folder_, name_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (fd && IsLockedElsewhere(fd.Get(), LOCK_EX)) {
            throw Refused("not extracted, the file there is in use by another program");
        }
    }
    writtenAs_ = ".krstream-" + std::to_string(getpid());
    fd_ = MakeFile(folder_, writtenAs_);
    if (!fd_) {
        throw SystemError("not extracted, no file can be made beside it");
    }
    if (S_ISREG(existing.st_mode)) {
        fchmod(fd_.Get(), existing.st_mode & 07777U);
    }
}

TargetFile::~TargetFile() {
    if (!writtenAs_.empty()) {
        unlinkat(folder_, writtenAs_.c_str(), 0);
    }
}

void TargetFile::Keep() {
    if (!fd_.Close()) {
        throw SystemError("not extracted, it could not be written");
    }
    if (writtenAs_ != name_ && renameat(folder_, writtenAs_.c_str(), folder_, name_.c_str()) != 0) {
        throw SystemError("not extracted, the file there cannot be replaced");
    }
    writtenAs_.clear();
}

TargetFolder::TargetFolder(const std::string& folder) {
    const std::string path = folder.empty() ? "." : folder;
    std::error_code error;
    std::filesystem::create_directories(path, error);
    base_ = UniqueFd(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!base_) {
        throw Failure(path, "cannot be used as a folder: " +
                                (error ? error.message() : ErrorText(errno)) + "; check -C");
    }
}

int TargetFolder::Parent(const std::vector<std::string>& elements) {
    std::size_t depth = 0;
    while (depth < steps_.size() && depth + 1 < elements.size() &&
           steps_[depth].name == elements[depth]) {
        ++depth;
    }
    while (steps_.size() > depth) {
        steps_.pop_back();
    }
    for (; depth + 1 < elements.size(); ++depth) {
        const int parent = steps_.empty() ? base_.Get() : steps_.back().fd.Get();
        steps_.push_back({elements[depth], OpenOrMakeFolder(parent, elements[depth])});
    }
    return steps_.empty() ? base_.Get() : steps_.back().fd.Get();
}
