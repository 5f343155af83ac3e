#include "recovery/FreeListRecord.h"

#include <TALVOutl/MD5.h>

#include <algorithm>
#include <cstring>
#include <optional>

using namespace BlockFormat;
using Recovery::Kind;
using Recovery::Role;
using Recovery::Severity;

namespace {

/// The digest of a directory in which nothing is damaged; none for another one.
std::optional<MD5::RawDigest> DigestOf(const DirectoryScan& directory) {
    MD5 digest;
    for (const FoundDirBlock& found : directory.Blocks()) {
        DirBlock block{};
        if (!found.isLinked) {
            break;
        }
        if (!directory.ReadExact(found, block)) {
            return std::nullopt;
        }
        block.AddTo(digest);
    }
    return digest.GetRawDigest();
}

BlockNumber HighestOf(const unsigned char* head) {
    return LoadLittleEndian<BlockNumber>(head + kFreeListHighestOffset);
}

const unsigned char* Bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

} // namespace

bool BeginsFreeList(const unsigned char* payload, std::size_t count) {
    return count > kFreeListHeadSize &&
           count ==
               std::min<std::uint64_t>(kPayloadSize, FreeListContentSize(HighestOf(payload))) &&
           payload[kFreeListHeadSize] == 0 &&
           std::all_of(payload + kFreeListHeadSize, payload + count,
                       [](unsigned char flag) { return flag <= 1; });
}

void FreeListCheck::Check(std::size_t entry) {
    const ChainPart& part = plan_.PartOf(entry);
    const Recovery::Entry& record = directory_.Entries()[entry];
    std::string head;
    std::uint64_t done = 0;
    bool isCurrent = false;
    reader_.ReadChain(part, [&](std::string_view payload) {
        // A copy, because the directory is read meanwhile.
        const std::string bytes(payload);
        if (done == 0) {
            head = bytes.substr(0, kFreeListHeadSize);
            isCurrent = IsCurrent(head, part.bytes);
        }
        const std::size_t skipped = done == 0 ? head.size() : 0;
        if (isCurrent) {
            CheckFlags(record.name, done + skipped - kFreeListHeadSize,
                       std::string_view(bytes).substr(skipped));
        }
        done += bytes.size();
        return isCurrent;
    });
    if (!isCurrent) {
        findings_.Add(Kind::FreeListStale, Severity::Notice, record.firstBlock, record.name,
                      "the record of free blocks does not fit the file and is not used");
    } else if (record.size != FreeListRecordedSize(HighestOf(Bytes(head))) ||
               part.bytes != record.size + 1) {
        findings_.Add(Kind::FreeListSize, Severity::Damage, record.firstBlock, record.name,
                      "the length of the record of free blocks is not what it has to be");
    }
}

bool FreeListCheck::IsCurrent(const std::string& head, std::uint64_t length) const {
    const std::optional<MD5::RawDigest> digest = DigestOf(directory_);
    const unsigned char* const bytes = Bytes(head);
    return head.size() == kFreeListHeadSize && digest &&
           std::equal(digest->begin(), digest->end(), bytes) &&
           HighestOf(bytes) >= table_.Count() && length >= FreeListContentSize(HighestOf(bytes));
}

// Numbers that were given out and never written may lie beyond the end of the file; they are free.
void FreeListCheck::CheckFlags(const std::string& name, std::uint64_t first,
                               std::string_view flags) {
    for (std::size_t i = 0; i < flags.size(); ++i) {
        const std::uint64_t number = first + i;
        if (flags[i] != (IsTaken(number) ? '\1' : '\0')) {
            findings_.Add(Kind::FreeListFlags, Severity::Notice, static_cast<BlockNumber>(number),
                          name, "the record of free blocks is wrong about it");
        }
    }
}

bool FreeListCheck::IsTaken(std::uint64_t number) const {
    return number > 0 && number <= table_.Count() && plan_.Blocks()[number - 1].role != Role::Free;
}
