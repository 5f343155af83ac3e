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

/// Opens what is there with the flags of open(2), O_CREAT not among them, when its path is in
/// canonical form as it is written. Returns a descriptor, which the caller closes, or -1: the path
/// may be in another form, or nothing be there, or the system refuse. A canonical path may be
/// refused too, so -1 says nothing about it. One system call, where KrGetCanonicalPath takes one
/// for each element; any thread.
TALVOUTL_EXPORT int KrOpenCanonical(const char* path, int flags);

/// Whether anything exists at `path` (links followed); access rights to it are not checked. False
/// for null, and where the answer cannot be had. One system call; any thread.
TALVOUTL_EXPORT bool KrFileExist(const char* path);
