#include "tests/support/RawFile.h"

#include <TALVOutl/MD5.h>

#include <algorithm>
#include <stdexcept>

namespace {

constexpr char kFreeList[] = "kravonel_block_file_free_list";
const std::string kSignature("Block   2\0", 10);
const std::string kMagic("KrCompoundFile\0", 15);

} // namespace

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

std::string RawFile::Faults() const {
    std::string faults;
    if (bytes.size() % 1024 != 0) {
        return "length is no multiple of 1024";
    }
    if (bytes.empty()) {
        return faults;
    }
    CheckHeaders(faults);
    std::map<std::uint32_t, std::string> owners;
    for (const std::uint32_t block : Chain(1)) {
        owners[block] = "directory";
        if (bytes.substr(At(block, 982), 15) != kMagic) {
            faults += "magic of directory block " + std::to_string(block) + "\n";
        }
    }
    CheckEntries(owners, faults);
    for (std::uint32_t block = 1; block <= BlockCount(); ++block) {
        if (InUse(block) != (owners.count(block) != 0)) {
            faults += "in-use flag of block " + std::to_string(block) + "\n";
        }
    }
    CheckFreeList(faults);
    return faults;
}

void RawFile::CheckHeaders(std::string& faults) const {
    for (std::size_t block = 1; block <= BlockCount(); ++block) {
        if (Number(At(block), 4) != block || bytes.substr(At(block, 5), 10) != kSignature ||
            static_cast<unsigned char>(bytes[At(block, 4)]) > 1) {
            faults += "header of block " + std::to_string(block) + "\n";
        }
    }
}

void RawFile::CheckEntries(std::map<std::uint32_t, std::string>& owners,
                           std::string& faults) const {
    for (const Slot& slot : Slots()) {
        if (slot.firstBlock == 0) {
            faults += slot.size == 0 ? "" : "size of free slot " + slot.name + "\n";
            continue;
        }
        const bool isFreeList = slot.name == kFreeList;
        const std::vector<std::uint32_t> chain = Chain(slot.firstBlock);
        std::uint64_t length = 0;
        for (const std::uint32_t block : chain) {
            const bool isLast = block == chain.back();
            const std::size_t used = Used(block);
            length += used;
            if (!owners.emplace(block, slot.name).second) {
                faults += "block " + std::to_string(block) + " is owned twice\n";
            }
            if (isLast ? used > (isFreeList ? 1003U : 1002U) : used != 1003) {
                faults += "used bytes of block " + std::to_string(block) + "\n";
            }
        }
        if (length != slot.size + (isFreeList ? 1 : 0)) {
            faults += "size of " + slot.name + "\n";
        }
        for (const std::size_t time : {257U, 283U}) {
            const std::string text = Text(slot.offset + time, 26);
            faults += text.size() == 25 && text[24] == '\n' && text[13] == ':' && text[16] == ':'
                          ? ""
                          : "time of " + slot.name + "\n";
        }
    }
}

void RawFile::CheckFreeList(std::string& faults) const {
    const std::string content = Content(Find(kFreeList).firstBlock);
    std::string flags(1, '\0');
    for (std::size_t block = 1; block <= BlockCount(); ++block) {
        flags += InUse(block) ? '\1' : '\0';
    }
    // Numbers that were given out and never written may lie beyond the end; they have to be free.
    flags.resize(std::max(content.size(), std::size_t{20}) - 20, '\0');
    const std::size_t highest = RawFile(content).Number(16, 4);
    if (content.substr(0, 16) != DirectoryDigest() || content.substr(20) != flags ||
        highest + 1 != flags.size() || highest < BlockCount()) {
        faults += "content of the free-list entry\n";
    }
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
