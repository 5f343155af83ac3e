#include "streamsources/FileUse.h"
#include "streamsources/StreamCopy.h"
#include "streamsources/StreamSourceMutex.h"
#include "streamsources/WorkspaceState.h"

#include <TALVOutl/Files.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace fs = boost::filesystem;

namespace {

using Source = CompoundFileStreamSource;

/// A file of the workspace that is never saved.
bool IsLibraryFile(const std::string& file) {
    return IsFailedDeletionMarker(file) || IsFreeBlockRecord(file);
}

/// Opens a new compound file in the place of what is at `path`.
Source::Error MakeFile(const std::string& path, CompoundFile& file) {
    const fs::file_status replaced = fs::status(path);
    if ((fs::exists(replaced) && !fs::is_regular_file(replaced)) || IsInUse(path)) {
        return Source::FileSystemError;
    }
    fs::remove(path);
    if (file.Open(path.c_str(), KrStreamE::ReadWrite) != KrStreamE::Ok) {
        return Source::CouldNotOpenCompoundFile;
    }
    if (fs::exists(replaced)) {
        fs::permissions(path, replaced.permissions());
    }
    return Source::NoError;
}

/// Sets a mark as long as it lives.
class PassingOn {
public:
    explicit PassingOn(bool& mark) : mark_(mark) { mark_ = true; }
    ~PassingOn() { mark_ = false; }
    PassingOn(const PassingOn&) = delete;
    PassingOn& operator=(const PassingOn&) = delete;

private:
    bool& mark_;
};

/// Sends a file on to the disk while it grows, so that who syncs it then need not wait for all of
/// it.
class SyncAhead {
public:
    explicit SyncAhead(std::string path) : path_(std::move(path)) {}

    void FileHasGrown() {
        boost::system::error_code error;
        const std::uintmax_t size = fs::file_size(path_, error);
        if (!error && size >= sent_ + kPart) {
            KrBeginSync(path_);
            sent_ = size;
        }
    }

private:
    /// Large enough for a disk to be written in long runs.
    static constexpr std::uintmax_t kPart = std::uintmax_t{8} << 20;

    const std::string path_;
    std::uintmax_t sent_ = 0;
};

/// Hands what was written to the operating system and sees whether all of it got there.
Source::Error Finish(CompoundFile& file) {
    file.Flush();
    return file.GetStatus() == KrStreamE::Ok ? Source::NoError : Source::CompoundFileCorrupt;
}

} // namespace

CompoundFileStreamSource::Error CompoundFileStreamSource::CopyToBlockFile(CompoundFile& target,
                                                                          std::istream& in,
                                                                          const char* name) {
    std::unique_ptr<std::ostream> entry = target.GetIOStream(name, "wb");
    if (entry == nullptr) {
        return CompoundFileCorrupt;
    }
    CopyStream(in, *entry);
    const bool written = entry->flush().good();
    entry.reset();
    if (!written || target.GetStatus() != KrStreamE::Ok) {
        return CompoundFileCorrupt;
    }
    return in.bad() ? FileSystemError : NoError;
}

CompoundFileStreamSource::Error CompoundFileStreamSource::CopyToBlockFile(bool full) {
    const StreamSourceLock lock;
    if (!state_->IsBound() || readOnly_ || compoundFile_.IsReadOnly() ||
        compoundFile_.GetStatus() != KrStreamE::Ok) {
        return CouldNotOpenCompoundFile;
    }
    const NameSet files = state_->workspace.Files();
    if (HaveTwins(files)) {
        return FileSystemError;
    }
    state_->unsynced = true;
    Error error = full ? SaveAllFiles(files) : SaveChangedFiles(files);
    if (error == NoError) {
        error = Finish(compoundFile_);
    }
    state_->dirty = state_->dirty && error != NoError;
    return error;
}

CompoundFileStreamSource::Error CompoundFileStreamSource::SaveAllFiles(const NameSet& files) {
    for (const std::string& file : files) {
        const Error error = IsLibraryFile(file) ? NoError : SaveFile(file);
        if (error != NoError) {
            return error;
        }
    }
    return NoError;
}

CompoundFileStreamSource::Error CompoundFileStreamSource::SaveChangedFiles(const NameSet& files) {
    DeleteEntries();
    for (const std::string& file : files) {
        if (IsLeftOut(file)) {
            continue;
        }
        const Error error = SaveFile(file);
        if (error != NoError) {
            return error;
        }
        state_->MarkUnchanged(StreamOf(file));
    }
    return NoError;
}

void CompoundFileStreamSource::DeleteEntries() {
    StreamSet& deleted = state_->deleted;
    for (auto stream = deleted.begin(); stream != deleted.end();) {
        compoundFile_.DeleteCFFile(stream->c_str());
        stream = compoundFile_.Exists(stream->c_str()) ? std::next(stream) : deleted.erase(stream);
    }
}

CompoundFileStreamSource::Error CompoundFileStreamSource::SaveFile(const std::string& file) {
    std::ifstream in(state_->workspace.PathOf(file), std::ios_base::in | std::ios_base::binary);
    return in.good() ? CopyToBlockFile(compoundFile_, in, StreamOf(file).c_str()) : FileSystemError;
}

bool CompoundFileStreamSource::IsLeftOut(const std::string& file) const {
    const std::string stream = StreamOf(file);
    const auto unchanged = state_->unchanged.find(stream);
    return IsLibraryFile(file) || state_->temporary.count(stream) != 0 ||
           (unchanged != state_->unchanged.end() && *unchanged == stream);
}

bool CompoundFileStreamSource::HaveTwins(const NameSet& names) const {
    StreamSet seen;
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        return !IsLibraryFile(name) && !seen.insert(StreamOf(name)).second;
    });
}

CompoundFileStreamSource::Error CompoundFileStreamSource::SaveAs(const char* path) {
    return SaveCopy(path, false);
}

CompoundFileStreamSource::Error CompoundFileStreamSource::SaveCopy(const char* path,
                                                                   bool toBeSynced) {
    const StreamSourceLock lock;
    if (path == nullptr || *path == '\0' || !state_->IsBound() ||
        compoundFile_.GetStatus() != KrStreamE::Ok) {
        return CouldNotOpenCompoundFile;
    }
    if (compoundFile_.NeedsPassword()) {
        return CompoundFileCorrupt;
    }
    try {
        const auto streams = GetFileNames();
        if (HaveTwins(*streams) || state_->workspace.Contains(path)) {
            return FileSystemError;
        }
        CompoundFile target;
        Error error = MakeFile(path, target);
        if (error == NoError) {
            error = CopyStreams(target, *streams, toBeSynced);
        }
        if (error == NoError) {
            error = Finish(target);
        }
        state_->dirty = state_->dirty && error != NoError;
        return error;
    } catch (const fs::filesystem_error&) {
        return FileSystemError;
    }
}

CompoundFileStreamSource::Error CompoundFileStreamSource::CopyStreams(CompoundFile& target,
                                                                      const NameSet& streams,
                                                                      bool toBeSynced) {
    if (target.EncryptLike(compoundFile_) != KrStreamE::Ok) {
        return CompoundFileCorrupt;
    }
    const PassingOn passingOn(state_->passesEntriesOn);
    SyncAhead syncAhead(target.GetCompoundFileName());
    for (const std::string& stream : streams) {
        // What such a file stands in front of is still what was saved last.
        const bool hasUnsavedFile =
            state_->temporary.count(stream) != 0 || IsFailedDeletionMarker(stream);
        if (IsFreeBlockRecord(stream) || (hasUnsavedFile && !HasEntry(stream))) {
            continue;
        }
        const std::unique_ptr<std::istream> in =
            hasUnsavedFile ? compoundFile_.GetIOStream(stream.c_str(), "rb")
                           : GetIStream(stream.c_str());
        const Error error =
            in == nullptr ? CompoundFileCorrupt : CopyToBlockFile(target, *in, stream.c_str());
        if (error != NoError) {
            return !hasUnsavedFile && FindFile(stream) ? error : CompoundFileCorrupt;
        }
        if (toBeSynced) {
            syncAhead.FileHasGrown();
        }
    }
    return NoError;
}

CompoundFileStreamSource::Error CompoundFileStreamSource::Close(CloseMode mode, bool full) {
    const StreamSourceLock lock;
    if (mode == SaveChanges && state_->dirty) {
        const Error error = CopyToBlockFile(full);
        if (error != NoError) {
            return error;
        }
    }
    const std::string file = state_->unsynced ? compoundFile_.GetCompoundFileName() : "";
    // With the workspace goes the only other place of what was saved.
    if (!file.empty() && !SyncWithName(file)) {
        return CompoundFileCorrupt;
    }
    // A folder that was refused, or that another source has, is not this one's to remove.
    if (state_->IsBound() && !DeleteDirectory()) {
        return CouldNotDeleteTempDir;
    }
    state_->workspace.SetFolder("");
    state_->dirty = false;
    state_->unsynced = false;
    state_->deleted.clear();
    state_->unchanged.clear();
    state_->temporary.clear();
    compoundFile_.Close();
    if (!file.empty()) {
        KrSync(file);
    }
    return NoError;
}

bool CompoundFileStreamSource::DeleteDirectory() {
    const StreamSourceLock lock;
    Workspace named(state_->directoryName);
    Workspace& workspace = state_->IsBound() ? state_->workspace : named;
    const bool removed = !workspace.Contains(state_->compoundFileName) && workspace.RemoveAll();
    if (!removed) {
        GetOStream(kFailedDeletionMarker);
    }
    return removed;
}
