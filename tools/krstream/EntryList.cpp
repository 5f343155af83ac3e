#include "EntryList.h"

#include "Names.h"
#include "NearMiss.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

namespace {

constexpr std::uint64_t kBlockPayload = 1003;

/// Times as "2026-11-21 08:05:04", which sorts; a text in no known form stays as it is.
std::string SortableTime(const char (&text)[26]) {
    std::string asFound(text, strnlen(text, sizeof text));
    if (!asFound.empty() && asFound.back() == '\n') {
        asFound.pop_back();
    }
    std::tm time{};
    const char* const end = strptime(asFound.c_str(), "%a %b %e %H:%M:%S %Y", &time);
    if (end == nullptr || *end != '\0') {
        return asFound;
    }
    char sortable[sizeof "2026-11-21 08:05:04"];
    const std::size_t length = std::strftime(sortable, sizeof sortable, "%Y-%m-%d %H:%M:%S", &time);
    return length == 0 ? asFound : std::string(sortable, length);
}

using EntriesByName = std::unordered_map<std::string, Entry>;

/// What to do about a name that is not there. `entries` go by their folded names.
std::string Suggestion(const std::string& name, const EntriesByName& entries) {
    // Comparing with more would take longer than looking.
    constexpr std::size_t kMaxEntries = 2000;
    std::vector<std::string> folded;
    if (entries.size() <= kMaxEntries) {
        for (const auto& [key, entry] : entries) {
            folded.push_back(key);
        }
    }
    const std::string nearest = NearestWord(FoldCase(name), folded);
    return nearest.empty() ? "; see 'krstream list'"
                           : "; did you mean " + Printable(entries.at(nearest).name) + "?";
}

} // namespace

Entry::Entry(const DirEntry& record)
    : name(record.name, strnlen(record.name, sizeof record.name)),
      created(SortableTime(record.created)),
      modified(SortableTime(record.modified)),
      firstBlock(record.firstBlock),
      size(record.size) {}

std::uint64_t Entry::Blocks() const {
    return size / kBlockPayload + 1;
}

std::vector<Entry> AllEntries(const CompoundFile& file) {
    std::vector<Entry> entries;
    unsigned long cursor = 0;
    for (const DirEntry* record = file.GetFirstDirEntry(&cursor); record != nullptr;
         record = file.GetNextDirEntry(&cursor)) {
        entries.emplace_back(*record);
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.firstBlock < b.firstBlock; });
    return entries;
}

std::vector<Entry> UserEntries(const CompoundFile& file) {
    std::vector<Entry> entries = AllEntries(file);
    const auto isFreeList = [](const Entry& entry) { return IsFreeListName(entry.name); };
    entries.erase(std::remove_if(entries.begin(), entries.end(), isFreeList), entries.end());
    return entries;
}

std::uint64_t TotalSize(const std::vector<Entry>& entries) {
    std::uint64_t total = 0;
    for (const Entry& entry : entries) {
        // Sizes come from the file, which may claim anything.
        total = entry.size > UINT64_MAX - total ? UINT64_MAX : total + entry.size;
    }
    return total;
}

std::vector<Entry> NamedEntries(OpenFile& file, const std::vector<std::string>& names,
                                Report& report) {
    EntriesByName byName;
    for (Entry& entry : AllEntries(file.Handle())) {
        byName.emplace(FoldCase(entry.name), std::move(entry));
    }
    std::vector<Entry> found;
    for (const std::string& name : names) {
        const auto at = byName.find(FoldCase(name));
        if (at == byName.end()) {
            report.Skip(file.Path(), "has no entry " + Printable(name) + Suggestion(name, byName));
        } else {
            found.push_back(at->second);
        }
    }
    return found;
}
