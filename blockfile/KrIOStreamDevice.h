#pragma once

#include "blockfile/CompoundFileServer.h"

#include <boost/iostreams/categories.hpp>
#include <boost/iostreams/positioning.hpp>

#include <ios>
#include <memory>

/// A seekable device over one entry of an open block file, in the sense of Boost.Iostreams. Copies
/// share one state, as the library copies devices about. The device holds a reference on the
/// engine; with the last copy the current block and the directory are written and the reference is
/// given back.
class KrIOStreamDevice {
public:
    using char_type = char;
    struct category : boost::iostreams::seekable_device_tag, boost::iostreams::flushable_tag {};

    /// Mode bits.
    enum Mode : std::uint32_t { Read = 1, Write = 2, Append = 8, Binary = 32 };

    /// What every failed operation throws; the text names the operation.
    class KrIOException : public std::ios_base::failure {
    public:
        explicit KrIOException(const char* text)
            : std::ios_base::failure(text, std::io_errc::stream) {}
    };

    /// `first` is the entry's first block where the caller has it, or null.
    KrIOStreamDevice(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
                     std::unique_ptr<DataBlock> first);

    /// Up to `n` bytes; -1 at the end of the entry. Where the directory promises more bytes than
    /// the chain holds, delivers what is there, and throws when nothing is.
    std::streamsize read(char* bytes, std::streamsize n);
    /// Overwrites in place and extends the entry at its end; returns n.
    std::streamsize write(const char* bytes, std::streamsize n);
    /// Moves within the entry; a target outside of it is its end. No block is read until bytes are
    /// asked for.
    std::streampos seek(boost::iostreams::stream_offset offset, std::ios_base::seekdir direction);
    /// Writes the current block.
    bool flush();

private:
    class Data;

    std::shared_ptr<Data> data_;
};
