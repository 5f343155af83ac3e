#include "blockfile/KrIOStream.h"

namespace {

/// Batches small reads and writes; about ten blocks.
constexpr std::streamsize kBufferSize = 10240;

} // namespace

KrIOStream::KrIOStream(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
                       std::uint32_t mode)
    : boost::iostreams::stream<KrIOStreamDevice>(KrIOStreamDevice(engine, entry), kBufferSize) {
    if ((mode & KrIOStreamDevice::Binary) == 0 || engine.GetStatus() != KrStreamE::Ok) {
        setstate(std::ios_base::badbit);
    } else if ((mode & KrIOStreamDevice::Append) != 0) {
        seekp(0, std::ios_base::end);
    }
}
