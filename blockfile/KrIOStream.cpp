#include "blockfile/KrIOStream.h"

KrIOStream::KrIOStream(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
                       std::uint32_t mode, std::unique_ptr<DataBlock> first)
    : std::iostream(nullptr), buffer_(KrIOStreamDevice(engine, entry, std::move(first)), *this) {
    rdbuf(&buffer_);
    if ((mode & KrIOStreamDevice::Binary) == 0 || engine.GetStatus() != KrStreamE::Ok) {
        setstate(std::ios_base::badbit);
    } else if ((mode & KrIOStreamDevice::Append) != 0) {
        seekp(0, std::ios_base::end);
    }
}
