#pragma once

#include <string>

/// Whether somebody, here or in another program, has the compound file at `path` open. What this
/// process has open is known by its name, in any letter case, even if the file is elsewhere now: a
/// handle opened on that name would join it.
bool IsInUse(const std::string& path);
