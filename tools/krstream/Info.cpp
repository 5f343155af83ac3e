#include "Commands.h"
#include "Compaction.h"
#include "EntryList.h"
#include "Json.h"
#include "OpenFile.h"
#include "StandardOutput.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

struct Summary {
    explicit Summary(OpenFile& file);

    int version;
    bool encrypted;
    std::uint64_t entries = 0;
    std::uint64_t payload = 0;
    std::uint64_t totalBlocks;
    std::uint64_t usedBlocks;
    std::uint64_t reclaimable;
    bool hasFreeRecord = false;
};

/// Sizes come from the file, which may claim anything.
void AddUpTo(std::uint64_t& sum, std::uint64_t addend, std::uint64_t limit) {
    sum = addend > limit - sum ? limit : sum + addend;
}

Summary::Summary(OpenFile& file)
    : version(file.Handle().GetFormatVersion()), encrypted(file.Handle().IsEncrypted()) {
    const std::vector<Entry> all = AllEntries(file.Handle());
    reclaimable = ReclaimableBytes(file, all);
    totalBlocks = file.Size() / kBlockSize;
    usedBlocks = std::min(static_cast<std::uint64_t>(file.Handle().GetNumDirBlocks()), totalBlocks);
    for (const Entry& entry : all) {
        AddUpTo(usedBlocks, entry.Blocks(), totalBlocks);
        if (IsFreeListName(entry.name)) {
            hasFreeRecord = true;
        } else {
            ++entries;
            AddUpTo(payload, entry.size, UINT64_MAX);
        }
    }
}

void PrintText(const std::string& path, const Summary& summary, StandardOutput& out) {
    const auto yesNo = [](bool value) { return std::string(value ? "yes" : "no"); };
    const std::string version =
        summary.version == 0 ? "none yet, the file is empty" : std::to_string(summary.version);
    const std::pair<const char*, std::string> lines[] = {
        {"file:              ", Printable(path)},
        {"format version:    ", version},
        {"encrypted:         ", yesNo(summary.encrypted)},
        {"entries:           ", std::to_string(summary.entries)},
        {"payload bytes:     ", std::to_string(summary.payload)},
        {"blocks used:       ", std::to_string(summary.usedBlocks)},
        {"blocks free:       ", std::to_string(summary.totalBlocks - summary.usedBlocks)},
        {"reclaimable bytes: ", std::to_string(summary.reclaimable)},
        {"free-block record: ", yesNo(summary.hasFreeRecord)},
    };
    for (const auto& [label, value] : lines) {
        out.Write(label + value + '\n');
    }
}

void PrintJson(const std::string& path, const Summary& summary, StandardOutput& out) {
    const Json object = {{"file", path},
                         {"format_version", summary.version},
                         {"encrypted", summary.encrypted},
                         {"entries", summary.entries},
                         {"payload_bytes", summary.payload},
                         {"blocks_used", summary.usedBlocks},
                         {"blocks_free", summary.totalBlocks - summary.usedBlocks},
                         {"reclaimable_bytes", summary.reclaimable},
                         {"free_block_record", summary.hasFreeRecord}};
    WriteJson(object, out);
}

} // namespace

ExitStatus Info(const Options& options) {
    OpenFile file(options.file, KrStreamE::ReadOnly);
    const Summary summary(file);
    StandardOutput out;
    if (options.json) {
        PrintJson(file.Path(), summary, out);
    } else {
        PrintText(file.Path(), summary, out);
    }
    out.Flush();
    return ExitStatus::Done;
}
