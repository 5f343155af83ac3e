#include "blockfile/EntryStream.h"

#include "blockfile/KrIOStream.h"

namespace {

using EntryRef = std::optional<CompoundFileServer::EntryRef>;

EntryRef MakeAnew(CompoundFileServer& engine, const char* name) {
    const bool inTheWay = engine.Exists(name) && !engine.DeleteCFFile(name);
    return inTheWay ? std::nullopt : engine.CreateEntry(name);
}

EntryRef EntryFor(CompoundFileServer& engine, const char* name, std::uint32_t mode) {
    if ((mode & KrIOStreamDevice::Read) != 0) {
        return engine.FindEntry(name);
    }
    if ((mode & KrIOStreamDevice::Append) != 0) {
        const EntryRef existing = engine.FindEntry(name);
        return existing ? existing : engine.CreateEntry(name);
    }
    return (mode & KrIOStreamDevice::Write) != 0 ? MakeAnew(engine, name) : std::nullopt;
}

} // namespace

std::unique_ptr<std::iostream> OpenEntryStream(CompoundFileServer& engine, const char* name,
                                               std::uint32_t mode) {
    try {
        const EntryRef entry = EntryFor(engine, name, mode);
        if (!entry) {
            return nullptr;
        }
        auto stream = std::make_unique<KrIOStream>(engine, *entry, mode);
        engine.CountOpenName(engine.Entry(*entry).name);
        return stream;
    } catch (...) {
        return nullptr;
    }
}
