#pragma once

#include <TALVOutl/Export.h>

#include <string>

/// \file
/// Paths.

/// The canonical form of a path: absolute, with links and dots resolved as far as the path exists,
/// and the rest appended lexically. Empty when `path` is null or empty or the form cannot be
/// computed (a link that leads in a circle, a folder that may not be searched). Names are bytes.
/// Costs a system call for each element of the path; any thread.
TALVOUTL_EXPORT std::string KrGetCanonicalPath(const char* path);

/// Whether anything exists at `path` (links followed); access rights to it are not checked. False
/// for null, and where the answer cannot be had. One system call; any thread.
TALVOUTL_EXPORT bool KrFileExist(const char* path);
