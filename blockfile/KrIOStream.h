#pragma once

#include "blockfile/EntryBuffer.h"

#include <cstdint>
#include <istream>
#include <memory>

/// The iostream over an entry that handles hand out.
class KrIOStream : public std::iostream {
public:
    /// `first` is the entry's first block where the caller has it, or null.
    /// Without the bit Binary, or on an engine in error, the stream is bad from the start: there is
    /// no text mode.
    KrIOStream(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
               std::uint32_t mode, std::unique_ptr<DataBlock> first);

private:
    EntryBuffer buffer_;
};
