#include "recovery/Salvage.h"

#include "recovery/FoldedName.h"
#include "recovery/FreeListRecord.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

using Recovery::Saved;

namespace {

/// The hyphen and the digits of the highest number.
constexpr std::size_t kMostDigits = 11;

std::string Numbered(const std::string& name, unsigned number) {
    std::ostringstream numbered;
    numbered << name << '-' << std::setw(4) << std::setfill('0') << number;
    return numbered.str();
}

} // namespace

UniqueNames::UniqueNames(const std::vector<Recovery::Entry>& wanted) {
    for (const Recovery::Entry& entry : wanted) {
        wanted_.insert(FoldedName(entry.name));
    }
    wanted_.insert(CompoundFile::kFreeListEntryName);
}

std::string UniqueNames::Take(const std::string& name) {
    return given_.insert(FoldedName(name)).second ? name : TakeNumbered(name);
}

std::string UniqueNames::TakeNumbered(const std::string& name) {
    // Long names that begin alike share their numbers, so that none is tried twice.
    const std::string stem = name.substr(0, DirEntry::kMaxNameLength - kMostDigits);
    unsigned& counter = counters_[FoldedName(stem)];
    std::string numbered;
    do {
        numbered = Numbered(stem, ++counter);
    } while (wanted_.count(FoldedName(numbered)) != 0 ||
             !given_.insert(FoldedName(numbered)).second);
    return numbered;
}

Salvage::Salvage(const BlockTable& table, const DirectoryScan& directory, const ChainPlan& plan,
                 PayloadReader& reader, CompoundFile& target, const Recovery::Progress& progress)
    : table_(table),
      directory_(directory),
      plan_(plan),
      reader_(reader),
      target_(target),
      progress_(progress),
      names_(directory.Entries()) {}

bool Salvage::Run(std::vector<Saved>& saved) {
    for (std::size_t i = 0; i < directory_.Entries().size(); ++i) {
        if (directory_.Entries()[i].isFreeList) {
            continue;
        }
        saved.emplace_back();
        if (!SaveEntry(i, saved.back())) {
            return false;
        }
    }
    for (const ChainPart& part : plan_.Orphans()) {
        if (IsWorthKeeping(part) && !SaveOrphan(part, saved)) {
            return false;
        }
    }
    target_.Flush();
    return target_.GetStatus() == KrStreamE::Ok;
}

bool Salvage::SaveEntry(std::size_t index, Saved& saved) {
    const Recovery::Entry& entry = directory_.Entries()[index];
    saved = {Saved::Extent::Lost, false, entry.name, "", 0, entry.size};
    if (entry.bytes == 0 && entry.size > 0) {
        return true;
    }
    saved.savedAs = entry.name.empty() ? names_.TakeNumbered("unnamed") : names_.Take(entry.name);
    return Copy(plan_.PartOf(index), saved);
}

bool Salvage::SaveOrphan(const ChainPart& part, std::vector<Saved>& saved) {
    saved.push_back(
        {Saved::Extent::Lost, true, "", names_.TakeNumbered("recovered"), 0, part.bytes});
    return Copy(part, saved.back());
}

// A record of free blocks has no entry any more where its directory block is lost, and a program
// that ended early leaves old ones. A directory block that is no part of the directory is a stray
// copy.
bool Salvage::IsWorthKeeping(const ChainPart& part) {
    bool isRecord = false;
    reader_.ReadChain(part, [&](std::string_view bytes) {
        isRecord =
            BeginsFreeList(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
        return false;
    });
    return part.bytes > 0 && !isRecord && !table_.At(part.firstPosition).hasMagic;
}

bool Salvage::Copy(const ChainPart& part, Saved& saved) {
    const std::unique_ptr<std::iostream> stream = target_.GetIOStream(saved.savedAs.c_str(), "wb");
    if (stream == nullptr) {
        return false;
    }
    reader_.ReadChain(part, [&](std::string_view bytes) {
        stream->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        saved.bytes += bytes.size();
        if (progress_) {
            progress_(bytes.size());
        }
        return stream->good();
    });
    saved.extent = saved.bytes >= saved.recordedBytes ? Saved::Extent::Whole : Saved::Extent::Part;
    return stream->flush().good() && target_.GetStatus() == KrStreamE::Ok;
}
