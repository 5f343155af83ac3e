#include "blockfile/CompoundFileServer.h"
#include "blockfile/EngineGuard.h"

#include <cstring>
#include <utility>

using namespace BlockFormat;

const DirEntry* CompoundFileServer::GetFirstDirEntry(unsigned long& index) const {
    index = 0;
    return EntryFrom(0, index);
}

const DirEntry* CompoundFileServer::GetNextDirEntry(unsigned long& index) const {
    return EntryFrom(static_cast<Directory::Slot>(index + 1), index);
}

const DirEntry* CompoundFileServer::EntryFrom(Directory::Slot from, unsigned long& index) const {
    const Directory::Slot slot = directory_.NextInUse(from);
    if (slot >= directory_.SlotCount()) {
        return nullptr;
    }
    index = slot;
    return &directory_.Entry(slot);
}

bool CompoundFileServer::DeleteCFFile(const char* name) {
    const std::optional<Directory::Slot> slot = Lookup(name);
    return slot && !readOnly_ && Guard([&] { RemoveEntry(*slot); }) == KrStreamE::Ok;
}

std::optional<CompoundFileServer::EntryRef> CompoundFileServer::FindEntry(const char* name) const {
    const std::optional<Directory::Slot> slot = Lookup(name);
    return slot ? std::optional<EntryRef>({*slot, directory_.Generation(*slot)}) : std::nullopt;
}

std::optional<CompoundFileServer::EntryRef> CompoundFileServer::CreateEntry(const char* name,
                                                                            DataBlock& first) {
    std::optional<EntryRef> made;
    Guard([&] { made = MakeEntry(name, first); });
    return made;
}

bool CompoundFileServer::IsCurrent(const EntryRef& entry) const {
    return directory_.Generation(entry.slot) == entry.generation;
}

void CompoundFileServer::EntryChanged(const EntryRef& entry) {
    directory_.MarkEntryChanged(entry.slot);
    directoryDirty_ = true;
}

const char* CompoundFileServer::TimeText() {
    const std::time_t now = std::time(nullptr);
    if (now != timeOfText_) {
        std::tm local{};
        krlocaltime_r(now, local);
        krasctime_r(local, timeText_);
        timeOfText_ = now;
    }
    return timeText_;
}

std::optional<Directory::Slot> CompoundFileServer::Lookup(const char* name) const {
    try {
        return name == nullptr ? std::nullopt : directory_.Find(name);
    } catch (...) {
        return std::nullopt;
    }
}

std::optional<CompoundFileServer::EntryRef> CompoundFileServer::MakeEntry(const char* name,
                                                                          DataBlock& first) {
    if (readOnly_ || std::strlen(name) > DirEntry::kMaxNameLength) {
        return std::nullopt;
    }
    RequirePassword();
    // The name may be that of the slot itself, as the directory walk hands it out.
    const std::string ownName(name);
    const Directory::Slot slot = TakeSlot();
    first.Reset(TakeBlock());
    first.ClearUnused();
    directory_.Occupy(slot, ownName, TimeText(), first.Number());
    directoryDirty_ = true;
    try {
        StoreDataBlock(first);
    } catch (...) {
        directory_.Free(slot);
        usage_.Set(first.Number(), false);
        throw;
    }
    return EntryRef{slot, directory_.Generation(slot)};
}

void CompoundFileServer::RemoveEntry(Directory::Slot slot) {
    RequirePassword();
    FreeChain(directory_.Entry(slot).firstBlock);
    directory_.Free(slot);
    directoryDirty_ = true;
    hasUnwrittenRemoval_ = true;
}

Directory::Slot CompoundFileServer::TakeSlot() {
    if (!directory_.FreeSlot()) {
        AppendDirBlock();
    }
    return *directory_.FreeSlot();
}

void CompoundFileServer::AppendDirBlock() {
    directory_.AppendNew(TakeBlock());
    directoryDirty_ = true;
    // Written at once, though it is still empty: the entry's data come to stand behind it, and a
    // hole left by a crash would keep the file from being opened for writing.
    const DirBlock& block = directory_.Block(directory_.BlockCount() - 1);
    DataBlock raw;
    block.Pack(raw.Image());
    StoreImage(block.header.number, true, raw.Image());
}

void CompoundFileServer::ReadDirBlock(BlockNumber number) {
    if (!file_.Contains(number)) {
        throw CompoundFileServerError{KrStreamE::BeyondEnd};
    }
    BlockFile::Reading reading(file_);
    const ByteStore::Bytes raw = reading.View(number, kBlockSize, kBlockSize);
    if (raw.count < kBlockSize || !directory_.AppendLoaded(raw.first, number)) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
}

// Parts of a directory block that is in the file.
void CompoundFileServer::WriteChange(const Directory::Change& change) {
    const DirBlock& block = directory_.Block(change.index);
    const std::size_t begin = kDirLayout2.PartOffset(change.first);
    const std::size_t end = kDirLayout2.PartOffset(change.last + 1);
    DataBlock raw;
    block.PackParts(change.first, change.last, raw.Image());
    usageDirty_ = true;
    if (!file_.Overwrite(block.header.number, begin, raw.Image() + begin, end - begin)) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
}

void CompoundFileServer::WriteDirectory() {
    WriteEnds();
    WriteStandIns();
    for (const Directory::Change& change : directory_.TakeChanges()) {
        WriteChange(change);
    }
    directoryDirty_ = false;
    hasUnwrittenRemoval_ = false;
    SendToFile();
}

// An entry's size counts what its stream still holds. Should the program die before the stream
// writes it, the entry must not end in what stood there before.
void CompoundFileServer::WriteStandIns() {
    for (const BlockNumber number : stale_) {
        StoreEmptyBlock(number, true);
    }
    stale_.clear();
}

// Links that are not to be followed go with the first change of the file.
void CompoundFileServer::WriteEnds() {
    if (audit_.ends.empty()) {
        return;
    }
    DataBlock block;
    for (const BlockNumber number : std::exchange(audit_.ends, {})) {
        FetchBlock(number, block, 1);
        block.SetNext(kNoBlock);
        block.SetInUse(usage_.IsUsed(number));
        StoreImage(number, block.IsInUse(), block.Image());
    }
}

void CompoundFileServer::WriteChanges() {
    WriteDirectory();
    WriteFreeMarks();
}

void CompoundFileServer::SendToFile() {
    if (!file_.Flush()) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
}
