#include "streamsources/StreamSourceMutex.h"

#include <TALVOkrstream/KrStreamSource.h>

#include <istream>

PureCompoundFileStreamSource::PureCompoundFileStreamSource() = default;
PureCompoundFileStreamSource::PureCompoundFileStreamSource(const PureCompoundFileStreamSource&) =
    default;
PureCompoundFileStreamSource&
PureCompoundFileStreamSource::operator=(const PureCompoundFileStreamSource&) = default;

PureCompoundFileStreamSource::~PureCompoundFileStreamSource() {
    Close();
}

bool PureCompoundFileStreamSource::Open(const char* path, bool readOnly) {
    const StreamSourceLock lock;
    readOnly_ = readOnly;
    return compoundFile_.Open(path, readOnly ? KrStreamE::ReadOnly : KrStreamE::ReadWrite) ==
           KrStreamE::Ok;
}

bool PureCompoundFileStreamSource::Open(std::shared_ptr<std::iostream> stream) {
    const StreamSourceLock lock;
    readOnly_ = false;
    return compoundFile_.Open(std::move(stream)) == KrStreamE::Ok;
}

bool PureCompoundFileStreamSource::Open(std::shared_ptr<std::iostream> stream,
                                        bool callerKeepsStream) {
    const StreamSourceLock lock;
    readOnly_ = false;
    return compoundFile_.Open(std::move(stream), callerKeepsStream) == KrStreamE::Ok;
}

void PureCompoundFileStreamSource::Close() {
    const StreamSourceLock lock;
    compoundFile_.Close();
}

std::string PureCompoundFileStreamSource::FlushToString() {
    const StreamSourceLock lock;
    return compoundFile_.FlushToString();
}

void PureCompoundFileStreamSource::DeleteSource(const char* name) {
    const StreamSourceLock lock;
    if (!readOnly_) {
        compoundFile_.DeleteCFFile(name);
    }
}

bool PureCompoundFileStreamSource::StreamExists(const char* name) const {
    const StreamSourceLock lock;
    return compoundFile_.Exists(name);
}

std::unique_ptr<std::istream> PureCompoundFileStreamSource::GetIStream(const char* name) {
    const StreamSourceLock lock;
    return compoundFile_.GetIOStream(name, "rb");
}

std::unique_ptr<std::iostream> PureCompoundFileStreamSource::GetIOStream(const char* name) {
    return OpenForWriting(name, "r+b", Lifetime::Lasting);
}

bool PureCompoundFileStreamSource::CleanUp() {
    return false;
}

std::unique_ptr<KrStreamSource>
PureCompoundFileStreamSource::GetStreamSource(const char* name) const {
    auto source = std::make_unique<PureCompoundFileStreamSource>();
    source->Open(name, readOnly_);
    return source;
}

std::unique_ptr<std::iostream> PureCompoundFileStreamSource::GetTempIOStream(const char* name) {
    return OpenForWriting(name, "r+b", Lifetime::Temporary);
}

std::unique_ptr<std::ostream> PureCompoundFileStreamSource::GetTempOStream(const char* name) {
    return OpenForWriting(name, "wb", Lifetime::Temporary);
}

std::unique_ptr<std::ostream> PureCompoundFileStreamSource::GetOStream(const char* name) {
    return OpenForWriting(name, "wb", Lifetime::Lasting);
}

std::shared_ptr<const std::set<std::string>> PureCompoundFileStreamSource::GetFileNames() const {
    const StreamSourceLock lock;
    auto names = std::make_shared<std::set<std::string>>();
    unsigned long index = 0;
    for (const char* name = compoundFile_.GetFirstDirName(&index); name != nullptr;
         name = compoundFile_.GetNextDirName(&index)) {
        names->insert(name);
    }
    return names;
}

std::string PureCompoundFileStreamSource::GetStreamFileName() const {
    return CompundFileBase::GetCompoundFileName();
}

bool PureCompoundFileStreamSource::IsReadOnly() const {
    return readOnly_;
}

void PureCompoundFileStreamSource::CloseFile() {
    Close();
}

std::unique_ptr<std::iostream> PureCompoundFileStreamSource::OpenForWriting(const char* name,
                                                                            const char* mode,
                                                                            Lifetime lifetime) {
    const StreamSourceLock lock;
    if (readOnly_ || name == nullptr) {
        return nullptr;
    }
    if (lifetime == Lifetime::Temporary) {
        temporaryNames_.insert(name);
    } else {
        temporaryNames_.erase(name);
    }
    return compoundFile_.GetIOStream(name, mode);
}
