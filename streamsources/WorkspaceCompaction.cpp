#include "blockfile/BlockFormat.h"
#include "streamsources/FileUse.h"
#include "streamsources/StreamSourceMutex.h"
#include "streamsources/WorkspaceState.h"

#include <TALVOutl/Exception.h>
#include <TALVOutl/Files.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <map>

namespace fs = boost::filesystem;

namespace {

/// What a compound file will need once the workspace is saved and nothing in it is unused.
class SpaceEstimate {
public:
    explicit SpaceEstimate(const CompoundFile& file);

    void AddStream(std::uint64_t size) { Count(BlocksFor(size), 1); }
    /// The entry of that name will be gone.
    void DropEntry(const std::string& name);
    std::int64_t Bytes() const { return (DirBlocksFor(entries_) + dataBlocks_) * kBlock; }

private:
    static constexpr std::int64_t kBlock = BlockFormat::kBlockSize;

    /// Sizes come from the file and may claim anything; no file has more blocks than this.
    static std::int64_t BlocksFor(std::uint64_t size) {
        return static_cast<std::int64_t>(std::min<std::uint64_t>(
            size / BlockFormat::kPayloadSize + (size % BlockFormat::kPayloadSize != 0 ? 1 : 0),
            BlockFormat::kMaxBlockNumber));
    }
    static std::int64_t DirBlocksFor(std::int64_t entries) {
        constexpr std::int64_t perBlock = BlockFormat::kSlotsPerBlock;
        return (entries + perBlock - 1) / perBlock;
    }
    void Count(std::int64_t dataBlocks, std::int64_t entries) {
        dataBlocks_ += dataBlocks;
        entries_ += entries;
    }

    std::int64_t entries_;
    std::int64_t dataBlocks_;
    std::map<std::string, std::int64_t, KrStdString::LessNoCase> blocksOfEntry_;
};

SpaceEstimate::SpaceEstimate(const CompoundFile& file)
    : entries_(file.GetNumDirEntrys()),
      dataBlocks_(file.GetNumUsedBlocks() - DirBlocksFor(entries_)) {
    unsigned long index = 0;
    for (const DirEntry* entry = file.GetFirstDirEntry(&index); entry != nullptr;
         entry = file.GetNextDirEntry(&index)) {
        blocksOfEntry_.emplace(entry->name, BlocksFor(entry->size));
    }
}

void SpaceEstimate::DropEntry(const std::string& name) {
    const auto entry = blocksOfEntry_.find(name);
    if (entry != blocksOfEntry_.end()) {
        Count(-entry->second, -1);
    }
}

[[noreturn]] void Fail(const char* text) {
    throw Exception(ExceptionMessage::translate(text));
}

/// The first free one of the names that a copy may have beside the file.
fs::path NameForCopy(const fs::path& folder) {
    for (char letter = 'A'; letter < 'Z'; ++letter) {
        fs::path copy = folder / (std::string("dravoptmp") + letter + ".kdp");
        if (fs::symlink_status(copy).type() == fs::file_not_found && !IsInUse(copy.string())) {
            return copy;
        }
    }
    Fail("Temporary file name could not be generated.");
}

void RemoveQuietly(const fs::path& file) {
    boost::system::error_code ignored;
    fs::remove(file, ignored);
}

/// A copy with changes that the old file does not have is not given up.
void RemoveUnlessNeeded(const fs::path& copy, bool hasUnsavedChanges) {
    if (!hasUnsavedChanges) {
        RemoveQuietly(copy);
    }
}

} // namespace

std::uint64_t CompoundFileStreamSource::GetUnUsedFileSpace() const {
    const StreamSourceLock lock;
    if (!CanBeCompacted()) {
        return 0;
    }
    SpaceEstimate estimate(compoundFile_);
    for (const std::string& stream : state_->deleted) {
        estimate.DropEntry(stream);
    }
    for (const std::string& item : state_->workspace.Items()) {
        if (!IsLeftOut(item)) {
            estimate.AddStream(state_->workspace.SizeOf(item));
            estimate.DropEntry(StreamOf(item));
        }
    }
    boost::system::error_code error;
    const std::uintmax_t size = fs::file_size(compoundFile_.GetCompoundFileName(), error);
    const std::int64_t needed = std::max<std::int64_t>(estimate.Bytes(), 0);
    return error || size <= static_cast<std::uint64_t>(needed)
               ? 0
               : size - static_cast<std::uint64_t>(needed);
}

bool CompoundFileStreamSource::CanBeCompacted() const {
    return state_->IsBound() && !readOnly_ && !compoundFile_.IsReadOnly() &&
           compoundFile_.GetStatus() == KrStreamE::Ok;
}

void CompoundFileStreamSource::CompactCompoundFile() {
    const StreamSourceLock lock;
    if (!CanBeCompacted()) {
        return;
    }
    if (compoundFile_.IsShared()) {
        Fail("The file could not be compacted.");
    }
    // Before the workspace is emptied in the attempt.
    if (!state_->workspace.IsRemovable()) {
        Fail("The old file could not be closed.");
    }
    // It goes on with what is open, whatever names have been set for a later Open.
    state_->compoundFileName = compoundFile_.GetCompoundFileName();
    state_->directoryName = state_->workspace.Folder();
    const fs::path copy = NameForCopy(fs::path(state_->compoundFileName).parent_path());
    const bool hadChanges = HasChanges();
    CopyForCompaction(copy.string());
    if (Close(DiscardChanges, false) != NoError) {
        RemoveUnlessNeeded(copy, hadChanges);
        state_->dirty = state_->dirty || hadChanges;
        Fail("The old file could not be closed.");
    }
    PutCopyInPlace(copy.string(), hadChanges);
    if (Open(NewWorkspace, false) != NoError) {
        Fail("The compacted file could not be opened.");
    }
}

void CompoundFileStreamSource::PutCopyInPlace(const std::string& copy, bool hadChanges) {
    const fs::path file = state_->compoundFileName;
    bool oldIsGone = false;
    try {
        fs::remove(file);
        oldIsGone = true;
        fs::rename(copy, file);
    } catch (const fs::filesystem_error&) {
        if (!oldIsGone) {
            RemoveUnlessNeeded(copy, hadChanges);
        }
        ReopenUncompacted(copy, oldIsGone);
    }
    KrSync(file.parent_path().string());
}

// Files count that the application has changed without a word, too.
bool CompoundFileStreamSource::HasChanges() const {
    const NameSet files = state_->workspace.Files();
    return state_->dirty || !state_->deleted.empty() ||
           std::any_of(files.begin(), files.end(),
                       [this](const std::string& file) { return !IsLeftOut(file); });
}

// The copy has to outlast a power cut before the file goes that it stands for.
void CompoundFileStreamSource::CopyForCompaction(const std::string& copy) {
    const bool wasDirty = state_->dirty;
    const fs::path file = state_->compoundFileName;
    boost::system::error_code error;
    // An override of GetIStream may have kept what it was handed, and with it the engine.
    if (SaveCopy(copy.c_str(), true) == NoError && !compoundFile_.IsShared()) {
        fs::permissions(copy, fs::status(file, error).permissions(), error);
        if (!error && SyncWithName(copy)) {
            return;
        }
    }
    RemoveQuietly(copy);
    state_->dirty = wasDirty;
    Fail("The file could not be copied.");
}

void CompoundFileStreamSource::ReopenUncompacted(const std::string& copy, bool oldIsGone) {
    if (oldIsGone) {
        state_->compoundFileName = copy;
    }
    const bool opened = Open(NewWorkspace, false) == NoError;
    if (!oldIsGone) {
        Fail("The file could not be compacted.");
    }
    if (!opened) {
        Fail("The temporary file could not be renamed.");
    }
    throw Exception(ExceptionMessage::translate(
                        "The temporary file could not be renamed.\nThe new file name is {1}.") %
                    fs::path(copy).filename().string());
}
