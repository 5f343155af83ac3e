#include "Commands.h"
#include "FreshFile.h"
#include "Json.h"
#include "OpenFile.h"
#include "RecoveryFile.h"
#include "StandardOutput.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

using Extent = Recovery::Saved::Extent;

std::string Line(const Recovery::Saved& saved) {
    std::string line = "whole: ";
    if (saved.isOrphan) {
        line = "recovered: ";
    } else if (saved.extent != Extent::Whole) {
        line = saved.extent == Extent::Part ? "in part: " : "lost: ";
    }
    line += Printable(saved.isOrphan ? saved.savedAs : saved.name);
    if (saved.extent != Extent::Lost && !saved.isOrphan && saved.savedAs != saved.name) {
        line += " as " + Printable(saved.savedAs);
    }
    line += ", " + std::to_string(saved.bytes);
    if (saved.extent != Extent::Whole) {
        line += " of " + std::to_string(saved.recordedBytes);
    }
    return line + " bytes\n";
}

/// Throws Failure when nothing of what there was is left.
void RequireAnySaved(const std::string& path, const std::vector<Recovery::Saved>& all) {
    const bool anySaved = std::any_of(all.begin(), all.end(), [](const Recovery::Saved& saved) {
        return saved.extent != Extent::Lost;
    });
    if (!all.empty() && !anySaved) {
        throw Failure(path, "nothing in it can be read any more; take another copy of it");
    }
}

bool AreWhole(const std::vector<Recovery::Saved>& all) {
    return std::all_of(all.begin(), all.end(),
                       [](const Recovery::Saved& saved) { return saved.extent == Extent::Whole; });
}

const char* NameOf(Extent extent) {
    switch (extent) {
    case Extent::Whole:
        return "whole";
    case Extent::Part:
        return "part";
    default:
        return "lost";
    }
}

void PrintJson(const Options& options, const std::vector<Recovery::Saved>& all,
               StandardOutput& out) {
    Json list = Json::array();
    for (const Recovery::Saved& saved : all) {
        list.push_back({{"name", saved.name},
                        {"saved_as", saved.savedAs},
                        {"extent", NameOf(saved.extent)},
                        {"orphan", saved.isOrphan},
                        {"bytes", saved.bytes},
                        {"recorded_bytes", saved.recordedBytes}});
    }
    WriteJson({{"file", options.file},
               {"target", options.target},
               {"whole", AreWhole(all)},
               {"entries", list}},
              out);
}

void Print(const Options& options, const std::vector<Recovery::Saved>& all) {
    StandardOutput out;
    if (options.json) {
        PrintJson(options, all, out);
    } else {
        for (const Recovery::Saved& saved : all) {
            out.Write(Line(saved));
        }
    }
    out.Flush();
}

/// Bytes of entries that can be reached.
std::uint64_t BytesThere(const Recovery::File& file) {
    std::uint64_t bytes = 0;
    for (const Recovery::Entry& entry : file.Entries()) {
        bytes += entry.isFreeList ? 0 : entry.bytes;
    }
    return bytes;
}

} // namespace

ExitStatus Repair(const Options& options) {
    Report report;
    Recovery::File file;
    const UniqueFd replaced = HoldTarget(options.file, options.target, options.force);
    OpenForRecovery(file, options.file, report, ExitStatus::InUse);
    if (file.IsEncrypted() || !options.passwordFile.empty()) {
        Unlock(file, options.file, PasswordSource(options.passwordFile));
    }
    FreshFile fresh(options.target,
                    replaced ? FreshFile::Existing::Replace : FreshFile::Existing::Refuse);
    report.Begin("saving", BytesThere(file));
    std::vector<Recovery::Saved> saved;
    const Recovery::Status status = file.Repair(
        fresh.Handle(), saved, [&report](std::uint64_t bytes) { report.Advance(bytes); });
    if (status != Recovery::Status::Ok) {
        throw WriteFailure(options.target);
    }
    RequireAnySaved(options.file, saved);
    fresh.PutInPlace();
    Print(options, saved);
    return AreWhole(saved) ? ExitStatus::Done : ExitStatus::DonePartly;
}
