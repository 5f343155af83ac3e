#include "streamsources/LazyWriteFileStream.h"

#include <TALVOutl/Files.h>

#include <boost/iostreams/device/mapped_file.hpp>
#include <boost/iostreams/stream.hpp>

LazyWriteFileBuffer::~LazyWriteFileBuffer() = default;

void LazyWriteFileBuffer::AddPatch(std::streamoff offset, const char* bytes, std::size_t count) {
    patches_.push_back({offset, std::string(bytes, count)});
}

LazyWriteFileStream::LazyWriteFileStream() : std::basic_ostream<char>(nullptr) {
    rdbuf(&buffer_);
}

LazyWriteFileStream::~LazyWriteFileStream() {
    if (buffer_.is_open() && buffer_.close() == nullptr) {
        setstate(std::ios_base::failbit);
    }
    // What has taken the file's place meanwhile is not the stream's to change.
    if (!buffer_.Patches().empty() && file_ && file_ == KrFileIdentity(path_)) {
        try {
            ApplyPatches();
        } catch (...) {
            // A destructor has nobody to tell.
            setstate(std::ios_base::badbit);
        }
    }
}

void LazyWriteFileStream::open(const std::string& path, std::ios_base::openmode mode) {
    path_ = path;
    mode_ = mode;
    if (buffer_.open(path, mode | std::ios_base::out) != nullptr) {
        file_ = KrFileIdentity(path);
        clear();
    } else {
        setstate(std::ios_base::failbit);
    }
}

void LazyWriteFileStream::ApplyPatches() const {
    std::unique_ptr<std::ostream> file;
    try {
        using MappedStream = boost::iostreams::stream<boost::iostreams::mapped_file_sink>;
        file = std::make_unique<MappedStream>(boost::iostreams::mapped_file_sink(path_));
    } catch (const std::exception&) {
        // Empties the file where the mode does, as opening it the first time did.
        file = std::make_unique<std::ofstream>(path_, mode_ | std::ios_base::out);
    }
    for (const LazyWriteFileBuffer::Patch& patch : buffer_.Patches()) {
        file->seekp(patch.offset);
        file->write(patch.bytes.data(), static_cast<std::streamsize>(patch.bytes.size()));
    }
}
