#include "blockfile/EntryStream.h"

#include "blockfile/KrIOStream.h"

namespace {

using EntryRef = std::optional<CompoundFileServer::EntryRef>;

EntryRef Make(CompoundFileServer& engine, const char* name, std::unique_ptr<DataBlock>& first) {
    first = std::make_unique<DataBlock>();
    return engine.CreateEntry(name, *first);
}

EntryRef MakeAnew(CompoundFileServer& engine, const char* name, std::unique_ptr<DataBlock>& first) {
    const bool inTheWay = engine.Exists(name) && !engine.DeleteCFFile(name);
    return inTheWay ? std::nullopt : Make(engine, name, first);
}

/// `first` gets the first block of an entry that is made.
EntryRef EntryFor(CompoundFileServer& engine, const char* name, std::uint32_t mode,
                  std::unique_ptr<DataBlock>& first) {
    if ((mode & KrIOStreamDevice::Read) != 0) {
        return engine.FindEntry(name);
    }
    if ((mode & KrIOStreamDevice::Append) != 0) {
        const EntryRef existing = engine.FindEntry(name);
        return existing ? existing : Make(engine, name, first);
    }
    return (mode & KrIOStreamDevice::Write) != 0 ? MakeAnew(engine, name, first) : std::nullopt;
}

} // namespace

std::unique_ptr<std::iostream> OpenEntryStream(CompoundFileServer& engine, const char* name,
                                               std::uint32_t mode) {
    try {
        std::unique_ptr<DataBlock> first;
        const EntryRef entry = EntryFor(engine, name, mode, first);
        if (!entry) {
            return nullptr;
        }
        return std::make_unique<KrIOStream>(engine, *entry, mode, std::move(first));
    } catch (...) {
        return nullptr;
    }
}
