#include "compoundfile/Servers.h"

#include "blockfile/CompoundFileServer.h"
#include "blockfile/FileStore.h"

#include <TALVOutl/Paths.h>

#include <boost/thread/lock_types.hpp>

#include <utility>

std::shared_ptr<Servers> Servers::Get() {
    static const std::shared_ptr<Servers> servers = std::make_shared<Servers>();
    return servers;
}

// Most paths are canonical as they are written, which opening the file shows. Not where an engine
// has the file: to open it once more would take its lock, and closing it then the caller's own.
CompoundFileServer* Servers::AcquireByPath(const char* path, KrStreamE::OpenMode mode) {
    const bool readOnly = mode != KrStreamE::ReadWrite;
    const bool isKnown = path != nullptr && Find(path) != nullptr;
    std::unique_ptr<FileStore> file = isKnown ? nullptr : FileStore::OpenCanonical(path, readOnly);
    if (file != nullptr) {
        return Create(std::move(file), path, readOnly);
    }
    std::string canonicalPath = KrGetCanonicalPath(path);
    CompoundFileServer* const open = Find(canonicalPath);
    if (open != nullptr) {
        open->AddReference();
        return open;
    }
    return Create(FileStore::Open(path, readOnly), std::move(canonicalPath), readOnly);
}

CompoundFileServer* Servers::OpenStream(const std::shared_ptr<std::iostream>& stream) {
    return Create(stream);
}

CompoundFileServer* Servers::OpenStream(const std::shared_ptr<std::iostream>& stream,
                                        bool callerKeepsStream) {
    return Create(stream, callerKeepsStream);
}

CompoundFileServer* Servers::Find(const std::string& canonicalPath) {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    const auto found = engines_.find(canonicalPath);
    return found == engines_.end() ? nullptr : found->second;
}

void Servers::Register(CompoundFileServer& engine) {
    if (!engine.GetPath().empty()) {
        const boost::unique_lock<boost::mutex> lock(mutex_);
        engines_.emplace(engine.GetPath(), &engine);
    }
}

void Servers::Unregister(const CompoundFileServer& engine) {
    if (!engine.GetPath().empty()) {
        const boost::unique_lock<boost::mutex> lock(mutex_);
        engines_.erase(engine.GetPath());
    }
}

template <typename... Arguments>
CompoundFileServer* Servers::Create(Arguments&&... arguments) {
    auto engine = std::make_unique<CompoundFileServer>(shared_from_this());
    if (engine->Open(std::forward<Arguments>(arguments)...) != KrStreamE::Ok) {
        return nullptr;
    }
    Register(*engine);
    return engine.release();
}
