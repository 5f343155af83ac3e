#pragma once

#include "blockfile/KrIOStreamDevice.h"

#include <boost/iostreams/stream.hpp>

/// The iostream over an entry that handles hand out.
class KrIOStream : public boost::iostreams::stream<KrIOStreamDevice> {
public:
    /// Without the bit Binary, or on an engine in error, the stream is bad from the start: there is
    /// no text mode.
    KrIOStream(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
               std::uint32_t mode);
};
