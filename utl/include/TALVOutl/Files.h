#pragma once

#include <TALVOutl/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

/// \file
/// What standard C++ does not do with files and folders: identity, private folders, locks, syncing.

/// What is at a path where a folder of the user's own is wanted; a link is not followed.
enum class KrFolderKind {
    /// Nothing.
    Missing,
    /// A folder that belongs to the user of this process.
    Own,
    /// Anything else: a link, a file, somebody else's folder, or what cannot be looked at.
    Other
};

/// Looks at `path`, whose trailing separators are ignored. One system call; any thread.
TALVOUTL_EXPORT KrFolderKind KrProbeFolder(const std::string& path);

/// Which file a path leads to, as two numbers that no other file has at the same time; a link is
/// not followed. None when there is no regular file. One system call; any thread.
TALVOUTL_EXPORT std::optional<std::pair<std::uint64_t, std::uint64_t>>
KrFileIdentity(const std::string& path);

/// Makes a folder (one level) that nobody but its user can enter: mode 0700. False when it cannot
/// be made or something is there. Any thread.
TALVOUTL_EXPORT bool KrMakePrivateFolder(const std::string& path);

/// Makes a folder of the same kind in `folder`, under a name that nothing had there, and returns
/// its path; empty when it cannot be made. Any thread.
TALVOUTL_EXPORT std::string KrMakeTemporaryFolder(const std::string& folder);

/// Whether somebody, this process included, holds a lock (flock) on the file at `path`; true also
/// for a file that may not be opened, where it cannot be known. False where nothing is. Neither
/// waits nor keeps a lock. Any thread.
TALVOUTL_EXPORT bool KrIsFileLocked(const std::string& path);

/// Sends what the system still holds of a file, or of a folder's list of names, to the disk (fsync)
/// and waits for it; false on an error. Any thread.
TALVOUTL_EXPORT bool KrSync(const std::string& path);

/// Has the system begin to send what it holds of a file to the disk (sync_file_range), and does not
/// wait: a KrSync that follows has less left to do. A hint, which tells of no error. Any thread.
TALVOUTL_EXPORT void KrBeginSync(const std::string& path);
