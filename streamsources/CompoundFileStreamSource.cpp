#include "streamsources/LegacyNames.h"
#include "streamsources/StreamCopy.h"
#include "streamsources/StreamSourceMutex.h"
#include "streamsources/WorkspaceState.h"

#include <TALVOutl/MD5.h>
#include <TALVOutl/Paths.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/path.hpp>

#include <algorithm>
#include <fstream>

namespace {

std::string TextOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

} // namespace

CompoundFileStreamSource::CompoundFileStreamSource(const char* compoundFileName,
                                                   const char* directoryName)
    : state_(std::make_shared<State>(TextOf(compoundFileName), TextOf(directoryName))) {}

CompoundFileStreamSource::CompoundFileStreamSource(const CompoundFileStreamSource&) = default;
CompoundFileStreamSource&
CompoundFileStreamSource::operator=(const CompoundFileStreamSource&) = default;
CompoundFileStreamSource::~CompoundFileStreamSource() = default;

CompoundFileStreamSource::Error CompoundFileStreamSource::Open(OpenMode mode, bool readOnly) {
    const StreamSourceLock lock;
    readOnly_ = readOnly;
    compoundFile_.Close();
    state_->workspace.SetFolder(state_->directoryName);
    const Error error = Bind(mode);
    if (error == NoError) {
        state_->dirty = false;
        state_->unsynced = false;
        state_->deleted.clear();
        state_->unchanged.clear();
        openMode_ = mode;
    }
    CollectLegacyNames();
    state_->workspace.Canonicalize();
    state_->directoryName = state_->workspace.Folder();
    if (error != NoError) {
        state_->workspace.SetFolder("");
    }
    const std::string canonical = KrGetCanonicalPath(state_->compoundFileName.c_str());
    if (!canonical.empty()) {
        state_->compoundFileName = canonical;
    }
    return error;
}

CompoundFileStreamSource::Error CompoundFileStreamSource::Bind(OpenMode mode) {
    const bool hidesFile = state_->workspace.Contains(state_->compoundFileName);
    if (hidesFile ||
        (mode == NewWorkspace && state_->workspace.Make() != Workspace::Opened::Done)) {
        return FileSystemError;
    }
    if (compoundFile_.Open(state_->compoundFileName.c_str(),
                           readOnly_ ? KrStreamE::ReadOnly : KrStreamE::ReadWrite) !=
        KrStreamE::Ok) {
        return CouldNotOpenCompoundFile;
    }
    switch (state_->workspace.Open()) {
    case Workspace::Opened::Done:
        return NoError;
    case Workspace::Opened::Missing:
        return TempDirDoesNotExist;
    default:
        return FileSystemError;
    }
}

void CompoundFileStreamSource::CollectLegacyNames() {
    state_->legacy.clear();
    unsigned long index = 0;
    const char* name =
        compoundFile_.GetFormatVersion() == 1 ? compoundFile_.GetFirstDirName(&index) : nullptr;
    for (; name != nullptr; name = compoundFile_.GetNextDirName(&index)) {
        const std::string entry = name;
        if (std::any_of(entry.begin(), entry.end(), [](char c) { return (c & 0x80) != 0; })) {
            state_->legacy.insert(entry);
        }
    }
}

bool CompoundFileStreamSource::ExtractAllFiles() const {
    const StreamSourceLock lock;
    try {
        const auto streams = GetFileNames();
        return std::all_of(streams->begin(), streams->end(), [this](const std::string& stream) {
            const bool staysEntry =
                IsFreeBlockRecord(stream) || !Workspace::CanHold(FileNameOf(stream));
            return staysEntry || FindFile(stream) || ExtractFile(stream.c_str());
        });
    } catch (const boost::filesystem::filesystem_error&) {
        return false;
    }
}

bool CompoundFileStreamSource::ExtractFile(const char* name) const {
    if (compoundFile_.GetStatus() != KrStreamE::Ok) {
        return false;
    }
    const std::unique_ptr<std::istream> entry = compoundFile_.GetIOStream(name, "rb");
    if (entry == nullptr) {
        return false;
    }
    const Workspace::FreshFile copy(state_->workspace);
    std::ofstream file(copy.Path(), std::ios_base::out | std::ios_base::binary);
    CopyStream(*entry, file);
    file.close();
    return !entry->bad() && file.good() && copy.PutInPlace(FileNameOf(name));
}

// An application that knows a stream of a legacy file by the name of its workspace file means the
// entry under its stored name.
std::string CompoundFileStreamSource::StreamOf(const std::string& name) const {
    if (state_->legacy.empty() || state_->legacy.count(name) != 0) {
        return name;
    }
    try {
        const std::string stored = LegacyNames::FromFileName(name);
        return state_->legacy.count(stored) != 0 ? stored : name;
    } catch (const std::exception&) {
        return name;
    }
}

std::string CompoundFileStreamSource::FileNameOf(const std::string& stream) const {
    return state_->legacy.count(stream) != 0 ? LegacyNames::ToFileName(stream) : stream;
}

bool CompoundFileStreamSource::CanBeFile(const std::string& stream) const {
    try {
        return Workspace::CanHold(FileNameOf(stream));
    } catch (const std::exception&) {
        return false;
    }
}

std::optional<std::string> CompoundFileStreamSource::FindFile(const std::string& stream) const {
    return CanBeFile(stream) ? state_->workspace.Find(FileNameOf(stream)) : std::nullopt;
}

void CompoundFileStreamSource::SetDirectoryName(const char* directoryName) {
    const StreamSourceLock lock;
    state_->directoryName = TextOf(directoryName);
}

void CompoundFileStreamSource::SetCompoundFileName(const char* compoundFileName) {
    const StreamSourceLock lock;
    state_->compoundFileName = TextOf(compoundFileName);
}

void CompoundFileStreamSource::SetIsReadOnly(bool readOnly) {
    const StreamSourceLock lock;
    readOnly_ = readOnly;
}

const char* CompoundFileStreamSource::GetDirectoryName() const {
    return state_->directoryName.c_str();
}

std::string CompoundFileStreamSource::GetCompoundFileName() const {
    return state_->compoundFileName;
}

std::string CompoundFileStreamSource::GetStreamFileName() const {
    return state_->compoundFileName;
}

std::string CompoundFileStreamSource::GetOriginalPath() const {
    return GetCompoundFileName();
}

CompoundFileStreamSource::OpenMode CompoundFileStreamSource::GetOpenMode() const {
    return openMode_;
}

bool CompoundFileStreamSource::IsDirty() const {
    return state_->dirty;
}

bool CompoundFileStreamSource::IsReadOnly() const {
    return readOnly_;
}

std::string CompoundFileStreamSource::GetTempFolderName(const char* baseFolder, const char* key) {
    const std::string digest = MD5(TextOf(key).c_str()).GetDigest();
    return (boost::filesystem::path(TextOf(baseFolder)) / ("_SP_" + digest)).string();
}

bool CompoundFileStreamSource::PreviousDeleteOfTempDirUnsuccessfull(const char* directory) {
    return KrFileExist(Workspace(TextOf(directory)).PathOf(kFailedDeletionMarker).c_str());
}

std::string CompoundFileStreamSource::ToString(Error error) {
    switch (error) {
    case NoError:
        return "No error";
    case TempDirAlreadyExists:
        return "Temp directory already exists";
    case CouldNotCreateTempDir:
        return "Could not create temp directory";
    case CouldNotOpenCompoundFile:
        return "Could not open compound file";
    case CompoundFileCorrupt:
        return "Compound file is corrupt";
    case TempDirDoesNotExist:
        return "Temp directory does not exist";
    case CouldNotDeleteTempDir:
        return "Could not delete temp directory";
    case FileSystemError:
        return "File system error";
    }
    return "Unknown error";
}
