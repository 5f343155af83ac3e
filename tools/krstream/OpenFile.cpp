#include "OpenFile.h"

#include "Descriptor.h"
#include "ExitStatus.h"

#include <TALVOutl/Strings.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

/// Any block begins with its number and a flag (5 bytes), then this word and the version.
constexpr off_t kSignatureOffset = 5;
constexpr std::string_view kSignatureWord = "Block";
constexpr std::size_t kSignatureSize = 10;
constexpr int kNewestVersion = 2;

constexpr const char* kRemedy =
    "take another copy of it, or save what is left with 'krstream repair'";

const char* KindOf(mode_t mode) {
    switch (mode & static_cast<mode_t>(S_IFMT)) {
    case S_IFDIR:
        return "a folder";
    case S_IFIFO:
        return "a pipe";
    case S_IFSOCK:
        return "a socket";
    default:
        return "a device";
    }
}

UniqueFd OpenDescriptor(const std::string& path, KrStreamE::OpenMode mode) {
    const int access = mode == KrStreamE::ReadWrite ? O_RDWR : O_RDONLY;
    return UniqueFd(open(path.c_str(), access | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
}

/// Version in the first block's signature; 0 when that is no signature.
int VersionOf(int fd) {
    std::array<char, kSignatureSize> bytes{};
    if (pread(fd, bytes.data(), bytes.size(), kSignatureOffset) < 0) {
        return 0;
    }
    const std::string text(bytes.data(), strnlen(bytes.data(), bytes.size()));
    if (text == "BlockFile") {
        return 1;
    }
    int version = 0;
    const bool known = text.compare(0, kSignatureWord.size(), kSignatureWord) == 0 &&
                       KrString::ToInt(text.substr(kSignatureWord.size()), version);
    return known ? version : 0;
}

std::string Defect(int fd, KrStreamE::OpenMode mode) {
    struct stat status {};
    fstat(fd, &status);
    const int version = VersionOf(fd);
    if (version < 1) {
        return "is not a compound file; check the name";
    }
    if (version > kNewestVersion) {
        return "is of format version " + std::to_string(version) +
               ", which this program does not know; use a newer one";
    }
    if (status.st_size % static_cast<off_t>(kBlockSize) != 0) {
        return "is cut short: its length of " + std::to_string(status.st_size) +
               " bytes is no multiple of 1024; " + kRemedy;
    }
    if (mode == KrStreamE::ReadWrite) {
        return std::string("is damaged and cannot be changed; ") + kRemedy;
    }
    return std::string("its directory is damaged; ") + kRemedy;
}

/// Why a file that is regular and permitted could not be opened; the library does not say.
Failure Diagnosis(const std::string& path, KrStreamE::OpenMode mode) {
    const UniqueFd fd = OpenDescriptor(path, mode);
    if (!fd) {
        return {path, "cannot be opened: " + ErrorText(errno) + "; try again"};
    }
    if (IsLockedElsewhere(fd.Get(), mode == KrStreamE::ReadWrite ? LOCK_EX : LOCK_SH)) {
        return InUseFailure(path);
    }
    return {path, Defect(fd.Get(), mode)};
}

} // namespace

void RequireRegularFile(const std::string& path, KrStreamE::OpenMode mode) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        if (errno == ENOENT) {
            throw Failure(path, "does not exist; check the name or make it with 'krstream create'");
        }
        throw Failure(path, "cannot be reached: " + ErrorText(errno) + "; check the path");
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(path, std::string("is ") + KindOf(status.st_mode) +
                                ", not a compound file; give the name of a file");
    }
    if (!OpenDescriptor(path, mode)) {
        throw Failure(path, "cannot be opened: " + ErrorText(errno) + "; check its permissions");
    }
}

OpenFile::OpenFile(std::string path, KrStreamE::OpenMode mode)
    : path_(std::move(path)), mode_(mode) {
    Open();
}

void OpenFile::Open() {
    RequireRegularFile(path_, mode_);
    if (handle_.Open(path_.c_str(), mode_) != KrStreamE::Ok) {
        throw Diagnosis(path_, mode_);
    }
}

std::uint64_t OpenFile::Size() const {
    struct stat status {};
    stat(path_.c_str(), &status);
    return static_cast<std::uint64_t>(status.st_size);
}

void OpenFile::Unlock(const PasswordSource& source) {
    if (!HasPassword()) {
        return;
    }
    password_ = source.Current(path_);
    if (!handle_.SetPassword(password_.c_str())) {
        throw Failure(path_, "the password is wrong; nothing was done, try again",
                      ExitStatus::Password);
    }
}

void OpenFile::Recover() {
    if (handle_.GetStatus() == KrStreamE::Ok) {
        return;
    }
    handle_.Close();
    Open();
    if (!password_.empty()) {
        handle_.SetPassword(password_.c_str());
    }
}

void OpenFile::CloseWritten() {
    if (!::CloseWritten(handle_, path_)) {
        throw WriteFailure(path_);
    }
}

bool CloseWritten(CompoundFile& file, const std::string& path) {
    file.Flush();
    struct stat status {};
    // Closing writes the record of free blocks and does not say whether it could; a block cut short
    // would show.
    return file.Close() == KrStreamE::Ok && stat(path.c_str(), &status) == 0 &&
           status.st_size % static_cast<off_t>(kBlockSize) == 0;
}

Failure InUseFailure(const std::string& path, ExitStatus status) {
    return {path, "is in use by another program; try again when that is done with it", status};
}

Failure WriteFailure(const std::string& subject) {
    constexpr std::uintmax_t kNothing = 64UL * 1024;
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::path(subject).parent_path();
    const auto space = std::filesystem::space(folder.empty() ? "." : folder, error);
    if (!error && space.available < kNothing) {
        return {subject, "could not be written, the disk is full; make room, then try again"};
    }
    return {subject, "could not be written; check the disk, quotas and limits, then try again"};
}
