#pragma once

#include "streamsources/Workspace.h"

#include <TALVOkrstream/CompoundFileStreamSource.h>
#include <TALVOutl/Strings.h>

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
        : compoundFileName(std::move(file)), workspace(std::move(folder)) {}

    std::string compoundFileName;
    Workspace workspace;
    /// The workspace differs from the compound file.
    bool dirty = false;
    /// Deleted since the last save: the entries that are still there do not count.
    StreamSet deleted;
    /// Streams whose files are copies of their entries.
    StreamSet unchanged;
    /// Handed out as temporary, and not as ordinary streams since.
    StreamSet temporary;
};

/// The file that marks a workspace which could not be removed.
constexpr const char* kFailedDeletionMarker = "CouldNotDelete";

/// Whether a name is the library's own and never that of a stream to be saved: the marker, or the
/// record of free blocks, which each compound file makes for itself.
inline bool IsLibraryName(const std::string& name) {
    return KrStdString::CompareNoCase(name, kFailedDeletionMarker, std::locale()) == 0 ||
           KrStdString::CompareNoCase(name, CompoundFile::kFreeListEntryName,
                                      std::locale::classic()) == 0;
}
