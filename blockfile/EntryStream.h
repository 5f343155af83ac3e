#pragma once

#include "blockfile/CompoundFileServer.h"

#include <cstdint>
#include <istream>
#include <memory>

/// Opens a stream on an entry by the bits of KrIOStreamDevice::Mode: Read wants an existing entry;
/// Append takes an existing one or makes it; Write makes it anew. Null when there is no such entry,
/// it cannot be made, or none of the bits is set.
std::unique_ptr<std::iostream> OpenEntryStream(CompoundFileServer& engine, const char* name,
                                               std::uint32_t mode);
