#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// A file's descriptor and the bare system calls on it. Every operation throws std::runtime_error
/// when it fails.
class PlainFile {
public:
    enum class Mode { Create, Read };

    PlainFile(const std::string& path, Mode mode);
    ~PlainFile();
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;

    void Write(const char* bytes, std::size_t count);
    /// Reads what there is up to `count` bytes; 0 at the end.
    std::size_t ReadSome(char* bytes, std::size_t count);
    void Read(char* bytes, std::size_t count);
    void ReadAt(std::uint64_t offset, char* bytes, std::size_t count);

private:
    const int descriptor_;
};
