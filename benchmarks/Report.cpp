#include "benchmarks/Report.h"

#include "benchmarks/Contenders.h"

#include <fstream>
#include <iomanip>
#include <ostream>
#include <sstream>

#include <sys/utsname.h>

namespace {

using Json = nlohmann::ordered_json;

std::string Processor() {
    std::ifstream text("/proc/cpuinfo");
    std::string line;
    while (std::getline(text, line)) {
        if (line.rfind("model name", 0) == 0) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown";
}

std::string Kernel() {
    utsname names{};
    uname(&names);
    return std::string(names.sysname) + ' ' + names.release;
}

std::string Rounded(double ratio) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << ratio;
    return text.str();
}

std::string InKib(std::int64_t bytes) {
    return std::to_string(bytes / 1024);
}

} // namespace

Json Surroundings(const Options& options) {
    const Sizes sizes = options.small ? Sizes::ForTrying() : Sizes();
    Json stores;
    for (const Contender& contender : AllContenders()) {
        stores[contender.name] = contender.version();
    }
    return {{"stores", stores},
            {"compiler", "g++ " __VERSION__},
            {"processor", Processor()},
            {"kernel", Kernel()},
            {"samples", options.samples},
            {"sizes",
             {{"piece", kPiece},
              {"large stream", sizes.largeStream},
              {"random reads", {sizes.coldReads, sizes.warmReads}},
              {"small streams", {sizes.smallStreams, kSmallStream}},
              {"medium streams", {sizes.mediumStreams, sizes.mediumStream}},
              {"few and many entries", {sizes.fewEntries, sizes.manyEntries}}}}};
}

void PrintRow(std::ostream& out, const Row& row, const std::vector<Standing>& standings) {
    out << row.id << ": " << row.work << "\n    against " << row.counterpart << "; goal "
        << Rounded(row.goal) << '\n';
    if (row.floor != nullptr) {
        out << "    floor: " << row.floorText << '\n';
    }
    for (const Standing& standing : standings) {
        const std::string range =
            Rounded(standing.ratios.front()) + " to " + Rounded(standing.ratios.back());
        out << "    " << std::left << std::setw(14) << standing.store << std::right << std::setw(8)
            << Rounded(standing.Median()) << "  " << std::left << std::setw(18) << range
            << std::right << std::setw(9) << InKib(static_cast<std::int64_t>(standing.bytesWritten))
            << " KiB written" << std::setw(9) << InKib(standing.memoryAboveCounterpart)
            << " KiB more memory\n";
    }
    out << std::flush;
}

Json RowAsJson(const Row& row, const std::vector<Standing>& standings) {
    Json stores = Json::array();
    for (const Standing& standing : standings) {
        stores.push_back({{"store", standing.store},
                          {"median", standing.Median()},
                          {"ratios", standing.ratios},
                          {"bytes written", standing.bytesWritten},
                          {"memory above counterpart", standing.memoryAboveCounterpart}});
    }
    return {{"row", row.id},    {"work", row.work},       {"counterpart", row.counterpart},
            {"goal", row.goal}, {"floor", row.floorText}, {"stores", stores}};
}
