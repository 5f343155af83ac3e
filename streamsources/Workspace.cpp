#include "streamsources/Workspace.h"

#include <TALVOutl/Files.h>
#include <TALVOutl/Paths.h>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <fstream>

namespace fs = boost::filesystem;

namespace {

constexpr char kSeparator = fs::path::preferred_separator;
/// The longest name that the usual file systems take.
constexpr std::size_t kMaxFileName = 255;

/// Without separators at the end, behind which a link would be followed.
std::string WithoutEndSeparators(const std::string& folder) {
    const std::size_t last = folder.find_last_not_of(kSeparator);
    return last == std::string::npos ? folder : folder.substr(0, last + 1);
}

std::string WithEndSeparator(const std::string& folder) {
    return folder.empty() || folder.back() == kSeparator ? folder : folder + kSeparator;
}

fs::directory_iterator List(const std::string& folder) {
    if (KrProbeFolder(folder) == KrFolderKind::Other) {
        throw fs::filesystem_error("not a folder of the user's own", folder,
                                   make_error_code(boost::system::errc::permission_denied));
    }
    return fs::directory_iterator(folder);
}

} // namespace

void Workspace::SetFolder(const std::string& folder) {
    folder_ = folder;
    index_.reset();
}

Workspace::Opened Workspace::Make() const {
    const KrFolderKind kind = KrProbeFolder(folder_);
    const bool isThere =
        kind == KrFolderKind::Missing ? KrMakePrivateFolder(folder_) : kind == KrFolderKind::Own;
    return isThere ? Opened::Done : Opened::Failed;
}

Workspace::Opened Workspace::Open() const {
    const KrFolderKind kind = KrProbeFolder(folder_);
    if (kind == KrFolderKind::Missing) {
        return Opened::Missing;
    }
    boost::system::error_code error;
    if (kind == KrFolderKind::Own) {
        fs::permissions(folder_, fs::remove_perms | fs::group_all | fs::others_all, error);
    }
    return kind == KrFolderKind::Own && !error ? Opened::Done : Opened::Failed;
}

void Workspace::Canonicalize() {
    const fs::path folder = WithoutEndSeparators(folder_);
    boost::system::error_code error;
    const bool isLink = fs::symlink_status(folder, error).type() == fs::symlink_file;
    const fs::path parent = folder.has_parent_path() ? folder.parent_path() : ".";
    const std::string canonical =
        isLink ? (fs::path(KrGetCanonicalPath(parent.c_str())) / folder.filename()).string()
               : KrGetCanonicalPath(folder.c_str());
    if (!canonical.empty()) {
        SetFolder(WithEndSeparator(canonical));
    }
}

bool Workspace::Contains(const std::string& path) const {
    const std::string folder = KrGetCanonicalPath(folder_.c_str());
    return !folder.empty() &&
           KrGetCanonicalPath(path.c_str()).compare(0, folder.size() + 1, folder + kSeparator) == 0;
}

bool Workspace::CanHold(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.size() <= kMaxFileName &&
           name.find(kSeparator) == std::string::npos;
}

std::string Workspace::PathOf(const std::string& name) const {
    return WithEndSeparator(folder_) + name;
}

std::optional<std::string> Workspace::Find(const std::string& name) {
    if (!CanHold(name) || !IsOwnFolder()) {
        return std::nullopt;
    }
    if (IsFile(name)) {
        return name;
    }
    if (!index_) {
        index_.emplace(folder_);
    }
    const std::vector<std::string> spellings = index_->SpellingsOf(name);
    const auto found = std::find_if(spellings.begin(), spellings.end(),
                                    [this](const std::string& other) { return IsFile(other); });
    return found == spellings.end() ? std::nullopt : std::optional<std::string>(*found);
}

std::set<std::string> Workspace::Files() const {
    std::set<std::string> files;
    for (const fs::directory_entry& item : List(folder_)) {
        if (item.symlink_status().type() == fs::regular_file) {
            files.insert(item.path().filename().string());
        }
    }
    return files;
}

std::set<std::string> Workspace::Items() const {
    std::set<std::string> items;
    for (const fs::directory_entry& item : List(folder_)) {
        items.insert(item.path().filename().string());
    }
    return items;
}

std::uint64_t Workspace::SizeOf(const std::string& name) const {
    boost::system::error_code error;
    const std::uintmax_t size = fs::file_size(PathOf(name), error);
    return error ? 0 : size;
}

bool Workspace::Remove(const std::string& name) const {
    boost::system::error_code error;
    return fs::remove(PathOf(name), error);
}

bool Workspace::PutEmptyFile(const std::string& name) const {
    const FreshFile file(*this);
    return std::ofstream(file.Path()).is_open() && file.PutInPlace(name);
}

bool Workspace::RemoveAll() {
    const KrFolderKind kind = KrProbeFolder(folder_);
    boost::system::error_code error;
    if (kind == KrFolderKind::Own) {
        index_.reset();
        fs::remove_all(WithoutEndSeparators(folder_), error);
    }
    return kind != KrFolderKind::Other && !error;
}

bool Workspace::IsRemovable() const {
    const fs::path parent = fs::path(WithoutEndSeparators(folder_)).parent_path();
    const std::string probe = KrMakeTemporaryFolder(parent.string());
    boost::system::error_code error;
    return !probe.empty() && fs::remove(probe, error);
}

bool Workspace::IsOwnFolder() const {
    return KrProbeFolder(folder_) == KrFolderKind::Own;
}

bool Workspace::IsFile(const std::string& name) const {
    boost::system::error_code error;
    return fs::symlink_status(PathOf(name), error).type() == fs::regular_file;
}

Workspace::FreshFile::FreshFile(const Workspace& workspace) : workspace_(workspace) {
    if (workspace.IsOwnFolder()) {
        folder_ = KrMakeTemporaryFolder(workspace.folder_);
    }
}

Workspace::FreshFile::~FreshFile() {
    if (!folder_.empty()) {
        boost::system::error_code ignored;
        fs::remove(Path(), ignored);
        fs::remove(folder_, ignored);
    }
}

std::string Workspace::FreshFile::Path() const {
    return folder_.empty() ? std::string() : folder_ + "/stream";
}

bool Workspace::FreshFile::PutInPlace(const std::string& name) const {
    boost::system::error_code error;
    fs::rename(Path(), workspace_.PathOf(name), error);
    return !error;
}
