#include "streamsources/LazyWriteFileStream.h"
#include "streamsources/StreamSourceMutex.h"
#include "streamsources/WorkspaceState.h"

#include <boost/iostreams/device/mapped_file.hpp>
#include <boost/iostreams/stream.hpp>

#include <cstring>
#include <fstream>
#include <locale>

namespace {

/// Longer paths of streams are taken for ones that do not exist.
constexpr std::size_t kPathLimit = 260;

bool IsNamed(const char* name) {
    return name != nullptr && *name != '\0';
}

/// Runs a request for a stream: without a name, and whatever it throws, the answer is null.
template <typename Request>
auto OrNull(const char* name, Request request) -> decltype(request()) {
    try {
        return IsNamed(name) ? request() : nullptr;
    } catch (const std::exception&) {
        return nullptr;
    }
}

/// An empty file cannot be mapped; it is opened like any file.
std::unique_ptr<std::istream> OpenForReading(const std::string& path) {
    using MappedStream = boost::iostreams::stream<boost::iostreams::mapped_file_source>;
    try {
        return std::make_unique<MappedStream>(boost::iostreams::mapped_file_source(path));
    } catch (const std::exception&) {
        auto file =
            std::make_unique<std::ifstream>(path, std::ios_base::in | std::ios_base::binary);
        return file->good() ? std::move(file) : nullptr;
    }
}

} // namespace

bool CompoundFileStreamSource::StreamExists(const char* name) const {
    const StreamSourceLock lock;
    if (!IsNamed(name) || state_->directoryName.size() + std::strlen(name) >= kPathLimit) {
        return false;
    }
    const std::string stream = StreamOf(name);
    return FindFile(stream) || HasEntry(stream);
}

bool CompoundFileStreamSource::HasEntry(const std::string& stream) const {
    return state_->deleted.count(stream) == 0 && compoundFile_.GetStatus() == KrStreamE::Ok &&
           compoundFile_.Exists(stream.c_str());
}

unsigned long long CompoundFileStreamSource::GetStreamSize(const char* name) const {
    const StreamSourceLock lock;
    if (!IsNamed(name)) {
        return 0;
    }
    const std::string stream = StreamOf(name);
    if (const std::optional<std::string> file = FindFile(stream)) {
        return state_->workspace.SizeOf(*file);
    }
    if (state_->deleted.count(stream) != 0) {
        return 0;
    }
    const std::locale locale;
    unsigned long index = 0;
    const DirEntry* entry = compoundFile_.GetFirstDirEntry(&index);
    while (entry != nullptr && KrStdString::CompareNoCase(entry->name, stream, locale) != 0) {
        entry = compoundFile_.GetNextDirEntry(&index);
    }
    return entry == nullptr ? 0 : entry->size;
}

std::unique_ptr<std::istream> CompoundFileStreamSource::GetIStream(const char* name) {
    const StreamSourceLock lock;
    return OrNull(name, [&]() -> std::unique_ptr<std::istream> {
        const std::string stream = StreamOf(name);
        std::optional<std::string> file = FindFile(stream);
        if (!file && state_->deleted.count(stream) != 0) {
            return nullptr;
        }
        if (!file && (state_->passesEntriesOn || !CanBeFile(stream))) {
            return compoundFile_.GetIOStream(stream.c_str(), "rb");
        }
        if (!file && ExtractFile(stream.c_str())) {
            file = FindFile(stream);
            state_->MarkUnchanged(stream);
        }
        return file ? OpenForReading(state_->workspace.PathOf(*file)) : nullptr;
    });
}

std::unique_ptr<std::iostream> CompoundFileStreamSource::GetIOStream(const char* name) {
    const StreamSourceLock lock;
    return OrNull(name, [&]() -> std::unique_ptr<std::iostream> {
        const std::string stream = StreamOf(name);
        std::optional<std::string> file = FindFile(stream);
        if (!file && CanBeFile(stream) && ExtractFile(stream.c_str())) {
            file = FindFile(stream);
        }
        if (!file) {
            return nullptr;
        }
        constexpr auto mode = std::ios_base::in | std::ios_base::out | std::ios_base::binary;
        return Changing(stream,
                        std::make_unique<std::fstream>(state_->workspace.PathOf(*file), mode));
    });
}

std::unique_ptr<std::ostream> CompoundFileStreamSource::GetOStream(const char* name) {
    const StreamSourceLock lock;
    return OrNull(name, [&]() -> std::unique_ptr<std::ostream> {
        const std::string stream = StreamOf(name);
        if (!CanBeFile(stream)) {
            return nullptr;
        }
        const std::string file = FindFile(stream).value_or(FileNameOf(stream));
        if (!state_->workspace.PutEmptyFile(file)) {
            return nullptr;
        }
        auto opened = std::make_unique<LazyWriteFileStream>();
        opened->open(state_->workspace.PathOf(file), std::ios_base::out | std::ios_base::binary);
        return Changing(stream, std::move(opened));
    });
}

// Only what succeeded changes what is known of a stream.
template <typename Stream>
std::unique_ptr<Stream> CompoundFileStreamSource::Changing(const std::string& stream,
                                                           std::unique_ptr<Stream> opened) {
    if (!opened->good()) {
        return nullptr;
    }
    state_->unchanged.erase(stream);
    state_->temporary.erase(stream);
    state_->deleted.erase(stream);
    state_->dirty = true;
    return opened;
}

std::unique_ptr<std::iostream> CompoundFileStreamSource::GetTempIOStream(const char* name) {
    return Temporary(name, [&] { return GetIOStream(name); });
}

std::unique_ptr<std::ostream> CompoundFileStreamSource::GetTempOStream(const char* name) {
    return Temporary(name, [&] { return GetOStream(name); });
}

template <typename Request>
auto CompoundFileStreamSource::Temporary(const char* name, Request request) -> decltype(request()) {
    const StreamSourceLock lock;
    const bool wasDirty = state_->dirty;
    auto stream = request();
    if (stream != nullptr) {
        state_->temporary.insert(StreamOf(name));
    }
    state_->dirty = wasDirty;
    return stream;
}

void CompoundFileStreamSource::DeleteSource(const char* name) {
    const StreamSourceLock lock;
    if (!StreamExists(name)) {
        return;
    }
    const std::string stream = StreamOf(name);
    const std::optional<std::string> file = FindFile(stream);
    state_->temporary.erase(stream);
    if (file && !state_->workspace.Remove(*file)) {
        // What cannot be removed is not to come back by the next save.
        state_->MarkUnchanged(StreamOf(*file));
    } else {
        // A file that comes to be there later is another one.
        state_->unchanged.erase(stream);
    }
    state_->deleted.insert(stream);
    state_->dirty = true;
}

void CompoundFileStreamSource::SetIsDirty(bool dirty, const char* name) {
    const StreamSourceLock lock;
    state_->dirty = dirty;
    if (name != nullptr) {
        state_->unchanged.erase(StreamOf(name));
    }
}

std::shared_ptr<const std::set<std::string>> CompoundFileStreamSource::GetFileNames() const {
    const StreamSourceLock lock;
    return BuildCurrentFileSet();
}

// A stream with a file is listed as the file is spelled, whatever the spelling of its entry. One
// that was deleted and has a file has been made anew by the application.
std::shared_ptr<std::set<std::string>> CompoundFileStreamSource::BuildCurrentFileSet() const {
    auto names = std::make_shared<std::set<std::string>>();
    StreamSet withFile;
    for (const std::string& file : state_->workspace.Files()) {
        const std::string stream = StreamOf(file);
        names->insert(stream);
        withFile.insert(stream);
    }
    if (compoundFile_.GetStatus() == KrStreamE::Ok) {
        unsigned long index = 0;
        for (const char* name = compoundFile_.GetFirstDirName(&index); name != nullptr;
             name = compoundFile_.GetNextDirName(&index)) {
            if (state_->deleted.count(name) == 0 && withFile.count(name) == 0) {
                names->insert(name);
            }
        }
    }
    return names;
}

std::unique_ptr<KrStreamSource>
CompoundFileStreamSource::GetStreamSource(const char* /*name*/) const {
    return nullptr;
}

bool CompoundFileStreamSource::CleanUp() {
    return DeleteDirectory();
}

void CompoundFileStreamSource::CloseFile() {
    Close(SaveChanges, false);
}
