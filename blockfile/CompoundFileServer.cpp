#include "blockfile/CompoundFileServer.h"

#include "blockfile/EngineGuard.h"
#include "blockfile/FileStore.h"
#include "blockfile/ServerRegistry.h"
#include "blockfile/StreamStore.h"

#include <algorithm>
#include <utility>

using namespace BlockFormat;

CompoundFileServer::CompoundFileServer(std::shared_ptr<ServerRegistry> registry)
    : registry_(std::move(registry)) {}

CompoundFileServer::~CompoundFileServer() {
    Finish();
}

KrStreamE::Status CompoundFileServer::Open(std::unique_ptr<FileStore> file,
                                           std::string canonicalPath, bool readOnly) {
    Reset();
    readOnly_ = readOnly;
    try {
        if (file == nullptr) {
            return Fail(KrStreamE::Failed);
        }
        const std::uint64_t length = file->Length();
        if (OpenStore(std::move(file), length) == KrStreamE::Ok) {
            path_ = std::move(canonicalPath);
        }
        return status_;
    } catch (...) {
        Reset();
        return Fail(KrStreamE::Failed);
    }
}

KrStreamE::Status CompoundFileServer::Open(const std::shared_ptr<std::iostream>& stream) {
    return OpenStream(stream, true, false);
}

KrStreamE::Status CompoundFileServer::Open(const std::shared_ptr<std::iostream>& stream,
                                           bool callerKeepsStream) {
    return OpenStream(stream, callerKeepsStream, true);
}

KrStreamE::Status CompoundFileServer::OpenStream(const std::shared_ptr<std::iostream>& stream,
                                                 bool callerKeepsStream, bool measured) {
    Reset();
    readOnly_ = false;
    try {
        auto store = std::make_unique<StreamStore>(stream, callerKeepsStream
                                                               ? StreamStore::Ownership::Weak
                                                               : StreamStore::Ownership::Shared);
        const std::optional<std::uint64_t> length = measured ? store->MeasureLength() : 0;
        if (stream == nullptr || !length) {
            return Fail(KrStreamE::Failed);
        }
        return OpenStore(std::move(store), *length);
    } catch (...) {
        Reset();
        return Fail(KrStreamE::Failed);
    }
}

KrStreamE::Status CompoundFileServer::OpenStore(std::unique_ptr<ByteStore> bytes,
                                                std::uint64_t length) {
    file_.Open(std::move(bytes), length);
    status_ = KrStreamE::Ok;
    if (Guard([this] { Load(); }) != KrStreamE::Ok) {
        Reset();
        Fail(KrStreamE::Failed);
    }
    return status_;
}

KrStreamE::Status CompoundFileServer::Close() {
    const Status before = status_;
    Finish();
    Reset();
    return before;
}

// What of the file is still to be written.
void CompoundFileServer::Finish() {
    Guard([this] {
        if (readOnly_) {
            return;
        }
        // No stream is left to write these: another one wrote over the link to them.
        while (!unwritten_.empty()) {
            FreeBlock(unwritten_.back());
        }
        if (directoryDirty_ || usageDirty_) {
            WriteDirectory();
        }
        if (usageDirty_) {
            WriteFreeList();
            WriteFreeMarks();
        }
    });
}

void CompoundFileServer::Flush(bool force) {
    Guard([this, force] {
        if (!readOnly_ && (directoryDirty_ || force)) {
            WriteChanges();
        }
    });
}

std::string CompoundFileServer::FlushToString() {
    std::string content;
    Guard([this, &content] {
        if (!readOnly_) {
            WriteChanges();
            content = file_.Content();
            Check(content.size() < file_.Length() ? KrStreamE::Failed : KrStreamE::Ok);
        }
    });
    return status_ == KrStreamE::Ok ? content : std::string();
}

void CompoundFileServer::Release() {
    if (--references_ == 0) {
        registry_->Unregister(*this);
        delete this;
    }
}

KrStreamE::Status CompoundFileServer::Fail(Status status) {
    status_ = status;
    return status_;
}

void CompoundFileServer::Check(Status status) {
    if (status != KrStreamE::Ok) {
        throw CompoundFileServerError{status};
    }
}

void CompoundFileServer::Reset() {
    if (status_ == KrStreamE::NotOpen) {
        return;
    }
    file_.Close();
    formatVersion_ = 0;
    path_.clear();
    usage_ = UsageTable();
    audit_ = ChainAudit();
    unwritten_.clear();
    stale_.clear();
    unmarked_.clear();
    directory_.Clear();
    directoryDirty_ = false;
    hasUnwrittenRemoval_ = false;
    usageDirty_ = false;
    cipher_.reset();
    status_ = KrStreamE::NotOpen;
}

void CompoundFileServer::Load() {
    if (file_.Length() % kBlockSize != 0 || file_.BlockCount() > kMaxBlockNumber) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    LoadDirectory();
    if (!readOnly_) {
        LoadUsage();
    }
}

void CompoundFileServer::LoadDirectory() {
    if (file_.BlockCount() == 0) {
        return;
    }
    for (BlockNumber number = kFirstBlock; number != kNoBlock;
         number = directory_.Block(directory_.BlockCount() - 1).header.next) {
        // A second visit means that the chain runs in a circle.
        if (directory_.HoldsBlock(number)) {
            throw CompoundFileServerError{KrStreamE::Failed};
        }
        ReadDirBlock(number);
    }
    formatVersion_ = VersionOf(directory_.Block(0).header.signature);
}

void CompoundFileServer::LoadUsage() {
    std::optional<HeaderScan> scan = HeaderScan::Of(file_, directory_);
    if (!scan) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    audit_ = ChainAudit(*scan, directory_);
    std::vector<unsigned char>& used = scan->inUse;
    const std::vector<unsigned char> snapshot = ReadFreeList();
    for (std::size_t number = 1; number < snapshot.size(); ++number) {
        used[number] = used[number] != 0 || snapshot[number] != 0 ? 1 : 0;
    }
    usage_ = UsageTable(used);
}
