#include "streamsources/StreamCopy.h"
#include "streamsources/StreamSourceMutex.h"
#include "streamsources/WorkspaceState.h"

#include <TALVOutl/Files.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>

#include <fstream>

namespace fs = boost::filesystem;

namespace {

using Source = CompoundFileStreamSource;

/// Whether two streams differ in nothing but letter case, so that a compound file could take only
/// one of them.
template <typename Names>
bool HaveTwins(const Names& streams) {
    StreamSet seen;
    for (const std::string& stream : streams) {
        if (!IsLibraryName(stream) && !seen.insert(stream).second) {
            return true;
        }
    }
    return false;
}

/// Opens a new compound file in the place of what is at `path`.
Source::Error MakeFile(const char* path, CompoundFile& file) {
    if (path == nullptr || *path == '\0') {
        return Source::CouldNotOpenCompoundFile;
    }
    const fs::file_status replaced = fs::status(path);
    if (fs::exists(replaced) && (!fs::is_regular_file(replaced) || KrIsFileLocked(path))) {
        return Source::FileSystemError;
    }
    fs::remove(path);
    if (file.Open(path, KrStreamE::ReadWrite) != KrStreamE::Ok) {
        return Source::CouldNotOpenCompoundFile;
    }
    if (fs::exists(replaced)) {
        fs::permissions(path, replaced.permissions());
    }
    return Source::NoError;
}

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
    if (readOnly_ || compoundFile_.GetStatus() != KrStreamE::Ok) {
        return CouldNotOpenCompoundFile;
    }
    const std::set<std::string> files = state_->workspace.Files();
    if (HaveTwins(StreamsOf(files))) {
        return FileSystemError;
    }
    const Error copied = full ? SaveAllFiles(files) : SaveChangedFiles(files);
    const Error error = copied == NoError ? Finish(compoundFile_) : copied;
    state_->dirty = state_->dirty && error != NoError;
    return error;
}

std::vector<std::string> CompoundFileStreamSource::StreamsOf(const NameSet& files) const {
    std::vector<std::string> streams;
    for (const std::string& file : files) {
        streams.push_back(StreamOf(file));
    }
    return streams;
}

CompoundFileStreamSource::Error CompoundFileStreamSource::SaveAllFiles(const NameSet& files) {
    Error error = NoError;
    for (auto file = files.begin(); file != files.end() && error == NoError; ++file) {
        error = IsLibraryName(*file) ? NoError : SaveFile(*file);
    }
    return error;
}

bool CompoundFileStreamSource::IsLeftOut(const std::string& stream) const {
    return state_->unchanged.count(stream) != 0 || state_->temporary.count(stream) != 0;
}

CompoundFileStreamSource::Error CompoundFileStreamSource::SaveChangedFiles(const NameSet& files) {
    for (const std::string& stream : state_->deleted) {
        compoundFile_.DeleteCFFile(stream.c_str());
    }
    state_->deleted.clear();
    for (const std::string& file : files) {
        const std::string stream = StreamOf(file);
        if (IsLibraryName(file) || IsLeftOut(stream)) {
            continue;
        }
        const Error error = SaveFile(file);
        if (error != NoError) {
            return error;
        }
        state_->unchanged.insert(stream);
    }
    return NoError;
}

CompoundFileStreamSource::Error CompoundFileStreamSource::SaveFile(const std::string& file) {
    std::ifstream in(state_->workspace.PathOf(file), std::ios_base::in | std::ios_base::binary);
    return in.good() ? CopyToBlockFile(compoundFile_, in, StreamOf(file).c_str()) : FileSystemError;
}

CompoundFileStreamSource::Error CompoundFileStreamSource::SaveAs(const char* path) {
    const StreamSourceLock lock;
    try {
        const auto streams = GetFileNames();
        if (HaveTwins(*streams)) {
            return FileSystemError;
        }
        CompoundFile target;
        Error error = MakeFile(path, target);
        if (error == NoError) {
            error = CopyStreams(target, *streams);
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
                                                                      const NameSet& streams) {
    if (compoundFile_.GetStatus() != KrStreamE::NotOpen &&
        target.EncryptLike(compoundFile_) != KrStreamE::Ok) {
        return CompoundFileCorrupt;
    }
    for (const std::string& stream : streams) {
        const bool isTemporary = state_->temporary.count(stream) != 0;
        if (IsLibraryName(stream) || (isTemporary && !HasEntry(stream))) {
            continue;
        }
        // What a temporary stream stands in front of is still what was saved last.
        const std::unique_ptr<std::istream> in =
            isTemporary ? compoundFile_.GetIOStream(stream.c_str(), "rb")
                        : GetIStream(stream.c_str());
        const Error error =
            in == nullptr ? CompoundFileCorrupt : CopyToBlockFile(target, *in, stream.c_str());
        if (error != NoError) {
            return error;
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
    if (!DeleteDirectory()) {
        return CouldNotDeleteTempDir;
    }
    state_->dirty = false;
    state_->deleted.clear();
    state_->unchanged.clear();
    state_->temporary.clear();
    compoundFile_.Close();
    return NoError;
}

bool CompoundFileStreamSource::DeleteDirectory() {
    const StreamSourceLock lock;
    const bool removed = state_->workspace.RemoveAll();
    if (!removed) {
        GetOStream(kFailedDeletionMarker);
    }
    return removed;
}
