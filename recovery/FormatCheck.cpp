#include "recovery/FormatCheck.h"

#include "recovery/FoldedName.h"

#include <algorithm>
#include <string>
#include <unordered_set>

using namespace BlockFormat;
using Recovery::Kind;
using Recovery::Role;
using Recovery::Severity;

namespace {

constexpr auto Notice = Severity::Notice;
constexpr auto Damage = Severity::Damage;

bool IsSet(const std::array<unsigned char, kDigestSize>& digest) {
    return std::any_of(digest.begin(), digest.end(), [](unsigned char byte) { return byte != 0; });
}

} // namespace

void FormatCheck::Run() {
    CheckLength();
    for (BlockNumber position = 1; position <= table_.Count(); ++position) {
        CheckBlock(position);
    }
    CheckDirectory();
    CheckNames();
    for (std::size_t index = 0; index < directory_.Entries().size(); ++index) {
        CheckTexts(index);
        CheckChain(index);
        CheckSize(index);
    }
}

void FormatCheck::CheckLength() {
    const std::size_t part = file_.Length() % kBlockSize;
    if (part != 0) {
        findings_.Add(Kind::FileLength, Damage, table_.Count(), "",
                      "the file ends in the middle of a block, after " + std::to_string(part) +
                          " of 1024 bytes");
    }
}

void FormatCheck::CheckBlock(BlockNumber position) {
    if (!table_.At(position).isReadable) {
        AddAbout(position, Kind::BlockUnreadable, Damage, "cannot be read from the disk");
        return;
    }
    CheckHeader(position);
    CheckInUse(position);
    CheckUsed(position);
}

void FormatCheck::CheckHeader(BlockNumber position) {
    const BlockFacts& facts = table_.At(position);
    if (facts.isPadding) {
        AddAbout(position, Kind::BlockPadding, Damage,
                 "padding that was never replaced by the block that belongs here");
    } else if (!facts.isInPlace) {
        AddAbout(position, Kind::BlockNumber, Damage, "the block's number is not its position");
    }
    if (!facts.isSigned) {
        AddAbout(position, Kind::BlockSignature, Damage,
                 "the signature is not of this format, or of a newer version");
    }
}

void FormatCheck::CheckInUse(BlockNumber position) {
    const BlockFacts& facts = table_.At(position);
    const Role role = plan_.Blocks()[position - 1].role;
    if (role == Role::Foreign) {
        return;
    }
    if (facts.hasOddFlag) {
        AddAbout(position, Kind::InUseValue, Damage, "the mark of use is neither 0 nor 1");
    }
    if (role == Role::Orphan) {
        AddAbout(position, Kind::OrphanBlock, Notice, "marked in use, but part of no entry");
    } else if (role != Role::Free && !facts.isInUse) {
        AddAbout(position, Kind::MarkedFree, Damage, "marked free, but in use");
    }
}

void FormatCheck::CheckUsed(BlockNumber position) {
    const BlockFacts& facts = table_.At(position);
    const Role role = plan_.Blocks()[position - 1].role;
    if (role == Role::Directory || role == Role::Foreign) {
        return;
    }
    const bool isOwned = role == Role::Entry || role == Role::FreeList;
    if (facts.used > kPayloadSize) {
        AddAbout(position, Kind::UsedBytes, isOwned ? Damage : Notice,
                 "more used bytes than a block has");
    } else if (isOwned && facts.next != kNoBlock && facts.used < kPayloadSize && !facts.isCut) {
        AddAbout(position, Kind::BlockNotFull, Damage, "not full, but not the last of its chain");
    } else if (role == Role::Entry && facts.next == kNoBlock && facts.used == kPayloadSize) {
        AddAbout(position, Kind::LastBlockFull, Notice,
                 "full, but no empty block behind it closes the chain");
    }
}

void FormatCheck::CheckDirectory() {
    for (const FoundDirBlock& block : directory_.Blocks()) {
        if (!block.hasMagic) {
            AddAbout(block.position, Kind::DirectoryMagic, Damage,
                     "the magic of a directory block is damaged");
        }
        if (!block.isLinked) {
            AddAbout(block.position, Kind::DirectoryUnlinked,
                     block.entryCount > 0 ? Damage : Notice,
                     "a directory block that the directory's chain does not lead to");
        }
        if (block.hasFreeSlotWithSize) {
            AddAbout(block.position, Kind::FreeSlotSize, Damage,
                     "a slot has a length, but no first block");
        }
        CheckPasswordRecord(block);
    }
    CheckDirectoryEnd();
}

void FormatCheck::CheckDirectoryEnd() {
    switch (directory_.ChainEnd()) {
    case DirectoryScan::End::Regular:
        break;
    case DirectoryScan::End::NoBlock:
        findings_.Add(Kind::DirectoryBeyondEnd, Damage, directory_.EndNumber(), "",
                      "the directory goes on here, but the file has no such block");
        break;
    case DirectoryScan::End::NotDirectory:
        findings_.Add(Kind::DirectoryMagic, Damage, directory_.EndNumber(), "",
                      "the directory goes on here, but this is no directory block");
        break;
    case DirectoryScan::End::Cycle:
        findings_.Add(Kind::DirectoryCycle, Damage, directory_.EndNumber(), "",
                      "the directory's chain comes back here");
        break;
    }
}

void FormatCheck::CheckPasswordRecord(const FoundDirBlock& block) {
    const bool isFirst = block.number == kFirstBlock;
    const bool isEncrypted = isFirst && (block.flags & kEncryptedFlag) != 0;
    if (block.flags != (isEncrypted ? kEncryptedFlag : 0)) {
        AddAbout(block.position, Kind::DirectoryFlags, isFirst ? Damage : Notice,
                 "flags are set that have no meaning");
    }
    if (IsSet(block.passwordDigest) != isEncrypted) {
        AddAbout(block.position, Kind::PasswordDigest, isFirst ? Damage : Notice,
                 isEncrypted ? "encrypted, but the password's digest is missing"
                             : "a password's digest, but nothing is encrypted by it");
    }
}

void FormatCheck::CheckNames() {
    std::unordered_set<std::string> seen;
    bool hasFreeList = directory_.Blocks().empty();
    for (const Recovery::Entry& entry : directory_.Entries()) {
        hasFreeList = hasFreeList || entry.isFreeList;
        if (entry.name.empty()) {
            findings_.Add(Kind::NameEmpty, Damage, entry.directoryBlock, "",
                          "an entry without a name");
        } else if (!seen.insert(FoldedName(entry.name)).second) {
            findings_.Add(Kind::NameDuplicate, Damage, entry.directoryBlock, entry.name,
                          "another entry before it has the same name");
        }
    }
    if (!hasFreeList) {
        findings_.Add(Kind::FreeListMissing, Notice, kNoBlock, "",
                      "there is no record of free blocks");
    }
}

void FormatCheck::CheckTexts(std::size_t index) {
    const Recovery::Entry& entry = directory_.Entries()[index];
    const SlotFaults& faults = directory_.FaultsOf(index);
    if (faults.nameUnterminated) {
        findings_.Add(Kind::NameUnterminated, Damage, entry.directoryBlock, entry.name,
                      "the name does not end within its field");
    }
    if (faults.createdForm || faults.modifiedForm) {
        findings_.Add(Kind::TimeText, Damage, entry.directoryBlock, entry.name,
                      faults.createdForm ? "the time of creation is no time"
                                         : "the time of the last change is no time");
    }
}

// A chain that leads astray behind the last byte of its entry costs nothing as long as it leads
// nowhere; a program that ended while it extended the entry leaves such a link. The record of free
// blocks can be made again.
void FormatCheck::CheckChain(std::size_t index) {
    const ChainPart& part = plan_.PartOf(index);
    const Recovery::Entry& entry = directory_.Entries()[index];
    const auto add = [&](Kind kind, Severity severity, const char* text) {
        findings_.Add(kind, severity, part.endNumber, entry.name, text);
    };
    const bool isHarmless = entry.isFreeList || (part.blocks > 0 && part.bytes >= entry.size);
    switch (part.end) {
    case ChainPart::End::Regular:
        break;
    case ChainPart::End::NoBlock:
        add(Kind::ChainBeyondEnd, isHarmless ? Notice : Damage,
            "the chain goes on here, but the file has no such block");
        break;
    case ChainPart::End::Directory:
        add(Kind::ChainInDirectory, Damage, "the chain leads into the directory here");
        break;
    case ChainPart::End::Foreign:
        add(Kind::ChainUnreadable, Damage, "the chain goes on here, but the block is damaged");
        break;
    case ChainPart::End::Taken:
        add(Kind::ChainCrossed, Damage, "the chain leads into that of another entry here");
        break;
    case ChainPart::End::Cycle:
        add(Kind::ChainCycle, Damage, "the chain comes back here");
        break;
    }
}

void FormatCheck::CheckSize(std::size_t index) {
    const ChainPart& part = plan_.PartOf(index);
    const Recovery::Entry& entry = directory_.Entries()[index];
    if (part.bytes < entry.size) {
        findings_.Add(Kind::SizeOverChain, entry.isFreeList ? Notice : Damage, entry.firstBlock,
                      entry.name,
                      "the directory records " + std::to_string(entry.size) + " bytes, but only " +
                          std::to_string(part.bytes) + " are there");
    } else if (!entry.isFreeList && (part.bytes > entry.size || part.goesOn)) {
        findings_.Add(Kind::ChainOverSize, Notice, entry.firstBlock, entry.name,
                      "the chain goes on behind the " + std::to_string(entry.size) +
                          " bytes that the directory records");
    }
}

void FormatCheck::AddAbout(BlockNumber position, Kind kind, Severity severity, const char* text) {
    const Recovery::Block& block = plan_.Blocks()[position - 1];
    const bool isOwned = block.role == Role::Entry || block.role == Role::FreeList;
    findings_.Add(kind, severity, position,
                  isOwned ? directory_.Entries()[block.owner].name : std::string(), text);
}
