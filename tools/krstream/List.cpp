#include "Amounts.h"
#include "Commands.h"
#include "EntryList.h"
#include "Json.h"
#include "Names.h"
#include "OpenFile.h"
#include "StandardOutput.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace {

void PrintNames(const std::vector<Entry>& entries, bool nullEnds, StandardOutput& out) {
    for (const Entry& entry : entries) {
        out.Write(nullEnds ? entry.name + '\0' : out.Shown(entry.name) + '\n');
    }
}

/// What a list shows beside names.
struct Listed {
    std::vector<Entry> entries;
    bool encrypted;
    /// Blocks of the file, more than which no sound entry has.
    std::uint64_t blocks;
};

/// The file is closed again before anything is printed: who reads the list may want to change the
/// file meanwhile.
Listed ReadEntries(const Options& options) {
    OpenFile file(options.file, KrStreamE::ReadOnly);
    Listed listed{options.all ? AllEntries(file.Handle()) : UserEntries(file.Handle()),
                  file.Handle().IsEncrypted(), file.Size() / kBlockSize};
    std::stable_sort(listed.entries.begin(), listed.entries.end(),
                     [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return listed;
}

/// What is special about an entry, a letter each; empty for most.
std::string Marks(const Entry& entry, const Listed& listed) {
    std::string marks = listed.encrypted ? "e" : "";
    marks += IsFreeListName(entry.name) ? "r" : "";
    marks += entry.Blocks() > listed.blocks ? "!" : "";
    return marks;
}

/// The columns before the name.
using Row = std::array<std::string, 4>;

Row Columns(const Entry& entry, const Listed& listed) {
    return {ReadableSize(entry.size), Printable(entry.modified), std::to_string(entry.Blocks()),
            Marks(entry, listed)};
}

void PrintRow(const Row& row, const Row& widest, const std::string& name, StandardOutput& out) {
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (!widest[i].empty()) {
            out.Write(std::string(widest[i].size() - row[i].size(), ' ') + row[i] + "  ");
        }
    }
    out.Write(name + '\n');
}

void PrintLong(const Listed& listed, StandardOutput& out) {
    Row widest = {"SIZE", "MODIFIED", "BLOCKS", ""};
    Row head = widest;
    for (const Entry& entry : listed.entries) {
        const Row row = Columns(entry, listed);
        for (std::size_t i = 0; i < widest.size(); ++i) {
            widest[i] = widest[i].size() < row[i].size() ? row[i] : widest[i];
        }
    }
    if (!widest.back().empty()) {
        head.back() = widest.back() = "MARKS";
    }
    PrintRow(head, widest, "NAME", out);
    for (const Entry& entry : listed.entries) {
        PrintRow(Columns(entry, listed), widest, Printable(entry.name), out);
    }
}

void PrintJson(const std::vector<Entry>& entries, StandardOutput& out) {
    Json list = Json::array();
    for (const Entry& entry : entries) {
        list.push_back({{"name", entry.name},
                        {"size", entry.size},
                        {"created", entry.created},
                        {"modified", entry.modified},
                        {"blocks", entry.Blocks()}});
    }
    WriteJson(list, out);
}

} // namespace

ExitStatus List(const Options& options) {
    const Listed listed = ReadEntries(options);
    StandardOutput out;
    if (options.json) {
        PrintJson(listed.entries, out);
    } else if (options.isLong) {
        PrintLong(listed, out);
    } else {
        PrintNames(listed.entries, options.nullEnds, out);
    }
    out.Flush();
    return ExitStatus::Done;
}
