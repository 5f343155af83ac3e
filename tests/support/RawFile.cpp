#include "tests/support/RawFile.h"

#include <TALVOutl/MD5.h>

#include <stdexcept>

std::uint64_t RawFile::Number(std::size_t offset, std::size_t width) const {
    std::uint64_t value = 0;
    for (std::size_t i = width; i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes.at(offset + i));
    }
    return value;
}

void RawFile::SetNumber(std::size_t offset, std::size_t width, std::uint64_t value) {
    for (std::size_t i = 0; i < width; ++i) {
        bytes.at(offset + i) = static_cast<char>(value >> (8 * i));
    }
}

std::string RawFile::Text(std::size_t offset, std::size_t fieldSize) const {
    const std::string field = bytes.substr(offset, fieldSize);
    return field.substr(0, field.find('\0'));
}

std::vector<std::uint32_t> RawFile::Chain(std::uint32_t firstBlock) const {
    std::vector<std::uint32_t> chain;
    for (std::uint32_t block = firstBlock; block != 0; block = Next(block)) {
        chain.push_back(block);
        if (block > BlockCount() || chain.size() > BlockCount()) {
            throw std::runtime_error("broken chain");
        }
    }
    return chain;
}

std::vector<RawFile::Slot> RawFile::Slots() const {
    std::vector<Slot> slots;
    for (const std::uint32_t block : bytes.empty() ? std::vector<std::uint32_t>() : Chain(1)) {
        for (const std::size_t offset : {19U, 340U, 661U}) {
            const std::size_t at = At(block, offset);
            slots.push_back({at, Text(at, 257), static_cast<std::uint32_t>(Number(at + 309, 4)),
                             Number(at + 313, 8)});
        }
    }
    return slots;
}

RawFile::Slot RawFile::Find(const std::string& name) const {
    for (const Slot& slot : Slots()) {
        if (slot.firstBlock != 0 && slot.name == name) {
            return slot;
        }
    }
    throw std::runtime_error("no entry " + name);
}

std::string RawFile::Content(std::uint32_t firstBlock) const {
    std::string content;
    for (const std::uint32_t block : Chain(firstBlock)) {
        content += bytes.substr(At(block, 21), Used(block));
    }
    return content;
}

std::string RawFile::DirectoryDigest() const {
    MD5 digest;
    const auto add = [&digest](const std::string& part) {
        digest.Update(part.data(), part.size());
    };
    for (const std::uint32_t block : Chain(1)) {
        add(bytes.substr(At(block), 5));
        add(Text(At(block, 5), 10));
        add(bytes.substr(At(block, 15), 4));
        for (const std::size_t slot : {19U, 340U, 661U}) {
            add(Text(At(block, slot), 257));
            add(Text(At(block, slot + 257), 26));
            add(Text(At(block, slot + 283), 26));
            add(bytes.substr(At(block, slot + 309), 12));
        }
        add(Text(At(block, 982), 15));
        add(bytes.substr(At(block, 997), 27));
    }
    const MD5::RawDigest raw = digest.GetRawDigest();
    return {raw.begin(), raw.end()};
}

RawFile Version1File(const std::string& name, const std::string& content) {
    RawFile raw(std::string(RawFile::At(4), '\0'));
    for (std::size_t block = 1; block <= 3; ++block) {
        raw.SetNumber(RawFile::At(block), 4, block);
        raw.bytes[RawFile::At(block, 4)] = 1;
        raw.bytes.replace(RawFile::At(block, 5), 9, "BlockFile");
    }
    // Slots of 317 bytes with 4-byte sizes; the second one is in use.
    raw.bytes.replace(336, name.size(), name);
    raw.bytes.replace(336 + 257, 25, "Tue Mar  4 05:06:07 1997\n");
    raw.bytes.replace(336 + 283, 25, "Wed Mar  5 05:06:07 1997\n");
    raw.SetNumber(336 + 309, 4, 2);
    raw.SetNumber(336 + 313, 4, content.size());
    raw.bytes.replace(970, 14, "KrCompoundFile");
    raw.bytes.replace(985, 21, "ABCDEFGHIJKLMNOPQRSTU");
    raw.SetNumber(RawFile::At(2, 15), 4, 3);
    raw.SetNumber(RawFile::At(2, 19), 2, 1003);
    raw.SetNumber(RawFile::At(3, 19), 2, content.size() - 1003);
    raw.bytes.replace(RawFile::At(2, 21), 1003, content.substr(0, 1003));
    raw.bytes.replace(RawFile::At(3, 21), content.size() - 1003, content.substr(1003));
    return raw;
}
