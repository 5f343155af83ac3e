#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// A file's descriptor and the bare system calls on it. Every operation throws std::runtime_error
/// when it fails.
class PlainFile {
public:
    enum class Mode { Create, Read, Change };

    PlainFile(const std::string& path, Mode mode);
    ~PlainFile();
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;

    void Write(const char* bytes, std::size_t count) const;
    /// Reads what there is up to `count` bytes; 0 at the end.
    std::size_t ReadSome(char* bytes, std::size_t count) const;
    void Read(char* bytes, std::size_t count) const;
    void ReadAt(std::uint64_t offset, char* bytes, std::size_t count) const;
    void WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) const;

private:
    const int descriptor_;
};
