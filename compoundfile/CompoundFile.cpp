#include "blockfile/CompoundFileServer.h"
#include "blockfile/EntryStream.h"
#include "blockfile/KrIOStreamDevice.h"
#include "compoundfile/Servers.h"

#include <TALVOkrstream/CompoundFile.h>
#include <TALVOutl/Strings.h>

#include <cstring>
#include <locale>

/// One reference on an engine, shared by the copies of a handle; null once one of them has given it
/// back.
struct CompoundFile::Reference {
    CompoundFileServer* engine;
};

namespace {

bool IsSet(const char* text) {
    return text != nullptr && *text != '\0';
}

} // namespace

CompoundFile::CompoundFile() = default;
CompoundFile::~CompoundFile() {
    Close();
}
CompoundFile::CompoundFile(const CompoundFile&) = default;
CompoundFile& CompoundFile::operator=(const CompoundFile&) = default;

KrStreamE::Status CompoundFile::Open(const char* path, KrStreamE::OpenMode mode) {
    return Hold([&](Servers& servers) { return servers.AcquireByPath(path, mode); });
}

KrStreamE::Status CompoundFile::Open(std::shared_ptr<std::iostream> stream) {
    return Hold([&](Servers& servers) { return servers.OpenStream(stream); });
}

KrStreamE::Status CompoundFile::Open(std::shared_ptr<std::iostream> stream,
                                     bool callerKeepsStream) {
    return Hold([&](Servers& servers) { return servers.OpenStream(stream, callerKeepsStream); });
}

KrStreamE::Status CompoundFile::Close() {
    CompoundFileServer* const engine = Engine();
    if (engine == nullptr) {
        return KrStreamE::NotOpen;
    }
    const KrStreamE::Status status = engine->GetStatus();
    reference_->engine = nullptr;
    reference_.reset();
    engine->Release();
    return status;
}

KrStreamE::Status CompoundFile::GetStatus() const {
    return Engine() != nullptr ? Engine()->GetStatus() : KrStreamE::NotOpen;
}

bool CompoundFile::IsReadOnly() const {
    return Engine() != nullptr && Engine()->IsReadOnly();
}

bool CompoundFile::IsShared() const {
    return Engine() != nullptr && Engine()->IsShared();
}

bool CompoundFile::IsEncrypted() const {
    return Engine() != nullptr && Engine()->IsEncrypted();
}

bool CompoundFile::NeedsPassword() const {
    return Engine() != nullptr && Engine()->NeedsPassword();
}

KrStreamE::Status CompoundFile::Encrypt(const char* password) {
    return Engine() != nullptr ? Engine()->Encrypt(password) : KrStreamE::NotOpen;
}

KrStreamE::Status CompoundFile::Decrypt() {
    return Engine() != nullptr ? Engine()->Decrypt() : KrStreamE::NotOpen;
}

KrStreamE::Status CompoundFile::EncryptLike(const CompoundFile& other) {
    return Engine() != nullptr && other.Engine() != nullptr ? Engine()->EncryptLike(*other.Engine())
                                                            : KrStreamE::NotOpen;
}

bool CompoundFile::SetPassword(const char* password) {
    return Engine() == nullptr || Engine()->SetPassword(password);
}

void CompoundFile::Flush() {
    if (Engine() != nullptr) {
        Engine()->Flush(false);
    }
}

std::string CompoundFile::FlushToString() {
    return Engine() != nullptr ? Engine()->FlushToString() : std::string();
}

bool CompoundFile::Exists(const char* name) const {
    if (Engine() == nullptr || name == nullptr) {
        return false;
    }
    const std::locale locale;
    if (KrStdString::FoldsLikeClassic(locale)) {
        return Engine()->Exists(name);
    }
    unsigned long index = 0;
    const char* found = GetFirstDirName(&index);
    while (found != nullptr && KrStdString::CompareNoCase(found, name, locale) != 0) {
        found = GetNextDirName(&index);
    }
    return found != nullptr;
}

bool CompoundFile::DeleteCFFile(const char* name) {
    return Engine() != nullptr && Engine()->DeleteCFFile(name);
}

std::string CompoundFile::GetCompoundFileName() const {
    return Engine() != nullptr ? Engine()->GetPath() : std::string();
}

const DirEntry* CompoundFile::GetFirstDirEntry(unsigned long* index) const {
    return Engine() != nullptr ? Engine()->GetFirstDirEntry(*index) : nullptr;
}

const DirEntry* CompoundFile::GetNextDirEntry(unsigned long* index) const {
    return Engine() != nullptr ? Engine()->GetNextDirEntry(*index) : nullptr;
}

const char* CompoundFile::GetFirstDirName(unsigned long* index) const {
    const DirEntry* const entry = GetFirstDirEntry(index);
    return entry != nullptr ? entry->name : nullptr;
}

const char* CompoundFile::GetNextDirName(unsigned long* index) const {
    const DirEntry* const entry = GetNextDirEntry(index);
    return entry != nullptr ? entry->name : nullptr;
}

int CompoundFile::GetNumDirEntrys() const {
    return Engine() != nullptr ? Engine()->GetNumDirEntrys() : 0;
}

int CompoundFile::GetNumUsedBlocks() const {
    return Engine() != nullptr ? Engine()->GetNumUsedBlocks() : 0;
}

int CompoundFile::GetNumDirBlocks() const {
    return Engine() != nullptr ? Engine()->GetNumDirBlocks() : 0;
}

int CompoundFile::GetFormatVersion() const {
    return Engine() != nullptr ? Engine()->GetFormatVersion() : 0;
}

CompoundFileServer* CompoundFile::GetCompoundFileServer() const {
    return Engine();
}

std::unique_ptr<std::iostream> CompoundFile::GetIOStream(const char* name, const char* mode) {
    CompoundFileServer* const engine = Engine();
    if (engine == nullptr || !IsSet(name) || !IsSet(mode)) {
        return nullptr;
    }
    std::uint32_t bits = std::strchr(mode, 'b') != nullptr ? KrIOStreamDevice::Binary : 0U;
    if (*mode == 'r') {
        bits |= KrIOStreamDevice::Read;
    } else if (*mode == 'w' && engine->IsReadOnly()) {
        return nullptr;
    } else if (*mode == 'w') {
        bits |= KrIOStreamDevice::Write;
    }
    return OpenEntryStream(*engine, name, bits);
}

CompoundFileServer* CompoundFile::Engine() const {
    return reference_ != nullptr ? reference_->engine : nullptr;
}

template <typename Acquire>
KrStreamE::Status CompoundFile::Hold(Acquire acquire) {
    Close();
    try {
        // Made first: once an engine is acquired, nothing may come between it and its holder.
        auto reference = std::make_shared<Reference>();
        reference->engine = acquire(*Servers::Get());
        if (reference->engine != nullptr) {
            reference_ = std::move(reference);
        }
        return GetStatus();
    } catch (...) {
        return KrStreamE::NotOpen;
    }
}
