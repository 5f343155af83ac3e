#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// A file buffer that can be told of changes to bytes written before. They are not made there and
/// then, which would cost a seek and the buffered bytes, but all at once when the stream is done.
class LazyWriteFileBuffer : public std::basic_filebuf<char> {
public:
    struct Patch {
        std::streamoff offset;
        std::string bytes;
    };

    LazyWriteFileBuffer() = default;
    ~LazyWriteFileBuffer() override;

    /// Changes the file's bytes from `offset` on to a copy of these. All of them have to be written
    /// already; a later patch of the same place wins.
    void AddPatch(std::streamoff offset, const char* bytes, std::size_t count);
    const std::vector<Patch>& Patches() const { return patches_; }

private:
    std::vector<Patch> patches_;
};

/// An output stream on a file, over a LazyWriteFileBuffer that writers can find behind rdbuf().
class LazyWriteFileStream : public std::basic_ostream<char> {
public:
    LazyWriteFileStream();
    /// Closes the file, then applies the patches, if it is still at its path.
    ~LazyWriteFileStream() override;
    LazyWriteFileStream(const LazyWriteFileStream&) = delete;
    LazyWriteFileStream& operator=(const LazyWriteFileStream&) = delete;

    /// Creates or empties the file; failbit when that fails.
    void open(const std::string& path, std::ios_base::openmode mode);

private:
    void ApplyPatches() const;

    std::string path_;
    std::ios_base::openmode mode_{};
    std::optional<std::pair<std::uint64_t, std::uint64_t>> file_;
    LazyWriteFileBuffer buffer_;
};
