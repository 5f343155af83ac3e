#pragma once

#include "blockfile/KrIOStreamDevice.h"

#include <boost/iostreams/stream_buffer.hpp>

#include <istream>

/// The iostream over an entry that handles hand out.
class KrIOStream : public std::iostream {
public:
    /// Without the bit Binary, or on an engine in error, the stream is bad from the start: there is
    /// no text mode.
    KrIOStream(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
               std::uint32_t mode);

private:
    /// Some of the standard library's positioning calls let a device's exception through to the
    /// caller; here each of them sets the stream's badbit, as reading and writing do.
    class Buffer : public boost::iostreams::stream_buffer<KrIOStreamDevice> {
    public:
        Buffer(const KrIOStreamDevice& device, std::ios& owner);

    protected:
        pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                         std::ios_base::openmode which) override;
        pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

    private:
        std::ios& owner_;
    };

    Buffer buffer_;
};
