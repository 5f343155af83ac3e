#include "blockfile/KrIOStream.h"

namespace {

/// Batches small reads and writes; about ten blocks.
constexpr std::streamsize kBufferSize = 10240;

} // namespace

KrIOStream::KrIOStream(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
                       std::uint32_t mode)
    : std::iostream(nullptr), buffer_(KrIOStreamDevice(engine, entry), *this) {
    rdbuf(&buffer_);
    if ((mode & KrIOStreamDevice::Binary) == 0 || engine.GetStatus() != KrStreamE::Ok) {
        setstate(std::ios_base::badbit);
    } else if ((mode & KrIOStreamDevice::Append) != 0) {
        seekp(0, std::ios_base::end);
    }
}

KrIOStream::Buffer::Buffer(const KrIOStreamDevice& device, std::ios& owner)
    : boost::iostreams::stream_buffer<KrIOStreamDevice>(device, kBufferSize), owner_(owner) {}

std::streampos KrIOStream::Buffer::seekoff(off_type offset, std::ios_base::seekdir direction,
                                           std::ios_base::openmode which) {
    try {
        return boost::iostreams::stream_buffer<KrIOStreamDevice>::seekoff(offset, direction, which);
    } catch (const std::ios_base::failure&) {
        owner_.setstate(std::ios_base::badbit);
        return {off_type(-1)};
    }
}

std::streampos KrIOStream::Buffer::seekpos(pos_type position, std::ios_base::openmode which) {
    return seekoff(position, std::ios_base::beg, which);
}
