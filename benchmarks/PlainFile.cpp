#include "benchmarks/PlainFile.h"

#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(std::string("plain file: ") + what);
    }
}

int FlagsOf(PlainFile::Mode mode) {
    switch (mode) {
    case PlainFile::Mode::Create:
        return O_RDWR | O_CREAT | O_TRUNC;
    case PlainFile::Mode::Change:
        return O_RDWR;
    default:
        return O_RDONLY;
    }
}

} // namespace

PlainFile::PlainFile(const std::string& path, Mode mode)
    : descriptor_(open(path.c_str(), O_CLOEXEC | FlagsOf(mode), 0600)) {
    Require(descriptor_ >= 0, "open");
}

PlainFile::~PlainFile() {
    close(descriptor_);
}

void PlainFile::Write(const char* bytes, std::size_t count) const {
    Require(write(descriptor_, bytes, count) == static_cast<ssize_t>(count), "write");
}

std::size_t PlainFile::ReadSome(char* bytes, std::size_t count) const {
    const ssize_t got = read(descriptor_, bytes, count);
    Require(got >= 0, "read");
    return static_cast<std::size_t>(got);
}

void PlainFile::Read(char* bytes, std::size_t count) const {
    Require(ReadSome(bytes, count) == count, "read");
}

void PlainFile::ReadAt(std::uint64_t offset, char* bytes, std::size_t count) const {
    Require(pread(descriptor_, bytes, count, static_cast<off_t>(offset)) ==
                static_cast<ssize_t>(count),
            "read");
}

void PlainFile::WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) const {
    Require(pwrite(descriptor_, bytes, count, static_cast<off_t>(offset)) ==
                static_cast<ssize_t>(count),
            "write");
}
