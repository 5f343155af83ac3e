#pragma once

#include "EntryList.h"
#include "OpenFile.h"

#include <cstdint>
#include <vector>

/// Bytes by which `file` would shrink if its entries were written to a fresh file; 0 when that one
/// would be no smaller, or when the directory claims more than the file holds.
std::uint64_t ReclaimableBytes(OpenFile& file, const std::vector<Entry>& entries);
