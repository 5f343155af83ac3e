#pragma once

#include <string>

/// Whether somebody, here or in another program, has the compound file at `path` open. What this
/// process has open is known by its name, in any letter case, even if the file is elsewhere now: a
/// handle opened on that name would join it.
bool IsInUse(const std::string& path);

/// Sends a file, and its name, to the disk; false when the file cannot be sent. Its folder may be
/// one that cannot be read.
bool SyncWithName(const std::string& path);
