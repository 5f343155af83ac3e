#pragma once

#include "blockfile/KrIOStreamDevice.h"

#include <ios>
#include <memory>
#include <streambuf>

/// The buffer of the stream over an entry. It gathers reads and writes, so that streams written in
/// turn still get runs of blocks; large ones go past it to the device. One run of bytes serves both
/// directions: at any time it holds what was read ahead, or what is still to be written, or
/// nothing.
///
/// Where the device throws, reading and writing let the exception through, as stream operations
/// turn it into badbit. Positioning, which they let escape to the caller, sets the owner's badbit
/// itself, and sync, which they call in a destructor too, answers -1.
class EntryBuffer : public std::streambuf {
public:
    EntryBuffer(KrIOStreamDevice device, std::ios& owner);
    /// Sends what is still to be written; a failure shows in the engine's status alone.
    ~EntryBuffer() override;

protected:
    int_type underflow() override;
    int_type pbackfail(int_type c) override;
    int_type overflow(int_type c) override;
    std::streamsize xsgetn(char* bytes, std::streamsize count) override;
    std::streamsize xsputn(const char* bytes, std::streamsize count) override;
    int sync() override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    void BeginReading();
    void BeginWriting();
    void Send();
    void Reserve(std::streamsize size);
    std::streamoff Position();

    KrIOStreamDevice device_;
    std::ios& owner_;
    std::unique_ptr<char[]> buffer_;
    std::streamsize size_ = 0;
};
