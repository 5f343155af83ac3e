#include "Commands.h"
#include "FreshFile.h"
#include "OpenFile.h"
#include "RecoveryFile.h"
#include "StandardOutput.h"

#include <algorithm>
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

ExitStatus Print(const std::vector<Recovery::Saved>& all) {
    StandardOutput out;
    for (const Recovery::Saved& saved : all) {
        out.Write(Line(saved));
    }
    out.Flush();
    const bool allWhole = std::all_of(all.begin(), all.end(), [](const Recovery::Saved& saved) {
        return saved.extent == Extent::Whole;
    });
    return allWhole ? ExitStatus::Done : ExitStatus::DonePartly;
}

} // namespace

ExitStatus Repair(const Options& options) {
    Report report;
    Recovery::File file;
    // Before anything is read: that can take long.
    RequireRegularFile(options.file, KrStreamE::ReadOnly);
    RefuseSameFile(options.file, options.target);
    const UniqueFd replaced = HoldReplaced(options.target, options.force);
    OpenForRecovery(file, options.file, report, ExitStatus::InUse);
    if (file.IsEncrypted() || !options.passwordFile.empty()) {
        Unlock(file, options.file, PasswordSource(options.passwordFile));
    }
    FreshFile fresh(options.target,
                    replaced ? FreshFile::Existing::Replace : FreshFile::Existing::Refuse);
    std::vector<Recovery::Saved> saved;
    const Recovery::Status status = file.Repair(
        fresh.Handle(), saved, [&report](std::uint64_t bytes) { report.Advance(bytes); });
    if (status != Recovery::Status::Ok) {
        throw WriteFailure(options.target);
    }
    RequireAnySaved(options.file, saved);
    fresh.PutInPlace();
    return Print(saved);
}
