#include "Commands.h"
#include "EntryList.h"
#include "Json.h"
#include "OpenFile.h"
#include "StandardOutput.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace {

/// The file is closed again before anything is printed: who reads the list may want to change the
/// file meanwhile.
std::vector<Entry> EntriesByName(const Options& options) {
    OpenFile file(options.file, KrStreamE::ReadOnly);
    std::vector<Entry> entries =
        options.all ? AllEntries(file.Handle()) : UserEntries(file.Handle());
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return entries;
}

void PrintNames(const std::vector<Entry>& entries, StandardOutput& out) {
    for (const Entry& entry : entries) {
        out.Write(out.Shown(entry.name) + '\n');
    }
}

/// The columns before the name.
std::array<std::string, 3> Columns(const Entry& entry) {
    return {std::to_string(entry.size), Printable(entry.modified), std::to_string(entry.Blocks())};
}

void PrintLong(const std::vector<Entry>& entries, StandardOutput& out) {
    std::array<std::size_t, 3> widths{};
    for (const Entry& entry : entries) {
        const auto columns = Columns(entry);
        for (std::size_t i = 0; i < widths.size(); ++i) {
            widths[i] = std::max(widths[i], columns[i].size());
        }
    }
    for (const Entry& entry : entries) {
        const auto columns = Columns(entry);
        for (std::size_t i = 0; i < widths.size(); ++i) {
            out.Write(std::string(widths[i] - columns[i].size(), ' '));
            out.Write(columns[i]);
            out.Write("  ");
        }
        out.Write(out.Shown(entry.name) + '\n');
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
    const std::vector<Entry> entries = EntriesByName(options);
    StandardOutput out;
    if (options.json) {
        PrintJson(entries, out);
    } else if (options.isLong) {
        PrintLong(entries, out);
    } else {
        PrintNames(entries, out);
    }
    out.Flush();
    return ExitStatus::Done;
}
