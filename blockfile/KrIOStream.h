#pragma once

#include "blockfile/EntryBuffer.h"

#include <cstdint>
#include <istream>

/// The iostream over an entry that handles hand out.
class KrIOStream : public std::iostream {
public:
    /// Without the bit Binary, or on an engine in error, the stream is bad from the start: there is
    /// no text mode.
    KrIOStream(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
               std::uint32_t mode);

private:
    EntryBuffer buffer_;
};
