#pragma once

#include "streamsources/Workspace.h"

#include <TALVOkrstream/CompoundFileStreamSource.h>
#include <TALVOutl/Strings.h>

#include <atomic>
#include <locale>
#include <set>
#include <string>

/// Streams by name, in any letter case, as the compound file knows its entries.
struct StreamOrder : KrStdString::LessNoCase {
    StreamOrder() : LessNoCase{std::locale::classic()} {}
};
using StreamSet = std::set<std::string, StreamOrder>;

/// What the copies of a source share.
struct CompoundFileStreamSource::State {
    State(std::string file, std::string folder)
        : compoundFileName(std::move(file)), directoryName(std::move(folder)) {}

    /// The workspace belongs to the source: Open succeeded, and Close has not yet.
    bool IsBound() const { return !workspace.Folder().empty(); }

    void MarkUnchanged(const std::string& stream) {
        unchanged.erase(stream);
        unchanged.insert(stream);
    }

    std::string compoundFileName;
    std::string directoryName;
    /// Without a folder, and so without files, unless it is bound: what else the directory's name
    /// leads to is not the source's.
    Workspace workspace{std::string()};
    /// The workspace differs from the compound file. Atomic, since it is asked without the lock.
    std::atomic<bool> dirty{false};
    /// Something was saved, and the compound file has not been synced since.
    bool unsynced = false;
    /// Entries of a file of format version 1 whose names are not the same in UTF-8.
    StreamSet legacy;
    /// Deleted since the last save: the entries that are still there do not count.
    StreamSet deleted;
    /// Streams whose files are copies of their entries, spelled as the files: another spelling is
    /// another file, which the application has put there.
    StreamSet unchanged;
    /// Everything is being copied elsewhere: what has no file is read from its entry, for a file
    /// that only passes it on would be written in vain.
    bool passesEntriesOn = false;
    /// Handed out as temporary, and not as ordinary streams since.
    StreamSet temporary;
};

/// The file that marks a workspace which could not be removed.
constexpr const char* kFailedDeletionMarker = "CouldNotDelete";

inline bool IsFailedDeletionMarker(const std::string& name) {
    return KrStdString::CompareNoCase(name, kFailedDeletionMarker, std::locale()) == 0;
}

/// Each compound file makes its own record of free blocks.
inline bool IsFreeBlockRecord(const std::string& name) {
    return KrStdString::CompareNoCase(name, CompoundFile::kFreeListEntryName,
                                      std::locale::classic()) == 0;
}
