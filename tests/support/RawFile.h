#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A block file's bytes, read and changed by literal offsets of the format, without the library's
/// own layout code.
class RawFile {
public:
    struct Slot {
        std::size_t offset;
        std::string name;
        std::uint32_t firstBlock;
        std::uint64_t size;
    };

    explicit RawFile(std::string content) : bytes(std::move(content)) {}

    std::size_t BlockCount() const { return bytes.size() / 1024; }
    static std::size_t At(std::uint64_t block, std::size_t offset = 0) {
        return (block - 1) * 1024 + offset;
    }
    std::uint64_t Number(std::size_t offset, std::size_t width) const;
    void SetNumber(std::size_t offset, std::size_t width, std::uint64_t value);
    std::string Text(std::size_t offset, std::size_t fieldSize) const;

    std::uint32_t Next(std::uint64_t block) const {
        return static_cast<std::uint32_t>(Number(At(block, 15), 4));
    }
    std::size_t Used(std::uint64_t block) const { return Number(At(block, 19), 2); }
    bool InUse(std::uint64_t block) const { return bytes[At(block, 4)] != 0; }

    std::vector<std::uint32_t> Chain(std::uint32_t firstBlock) const;
    std::vector<Slot> Slots() const;
    /// The slot of an entry by its exact name.
    Slot Find(const std::string& name) const;
    /// The concatenated payloads of a chain, as long as their used-bytes fields say.
    std::string Content(std::uint32_t firstBlock) const;
    /// What the free-list entry's first 16 bytes have to be.
    std::string DirectoryDigest() const;

    std::string bytes;
};

/// A file of format version 1 that holds one entry, of 1003 to 2005 bytes.
RawFile Version1File(const std::string& name, const std::string& content);
