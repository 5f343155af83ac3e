#include "benchmarks/Bench.h"

#include "benchmarks/Contenders.h"

#include <boost/dll/runtime_symbol_info.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/process.hpp>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <sched.h>
#include <unistd.h>

namespace {

namespace fs = boost::filesystem;

fs::path MakeFolder(const std::string& parent) {
    fs::path folder = fs::canonical(parent) / fs::unique_path("krstream-bench-%%%%%%%%");
    fs::create_directory(folder);
    return folder;
}

/// What this program prints when it is run with `arguments`; throws when it fails.
std::string RunSelf(std::vector<std::string> arguments, bool small) {
    if (small) {
        arguments.emplace_back("--small");
    }
    boost::process::ipstream output;
    boost::process::child child(boost::dll::program_location(), boost::process::args(arguments),
                                boost::process::std_out > output);
    std::string line;
    std::getline(output, line);
    child.wait();
    if (child.exit_code() != 0) {
        throw std::runtime_error("a sample failed: " + arguments[1] + ", " + arguments[2]);
    }
    return line;
}

bool TakesPart(const Row& row, const Contender& contender) {
    switch (row.stores) {
    case Row::Stores::All:
        return true;
    case Row::Stores::ThoseThatChange:
        return contender.canChange;
    case Row::Stores::Ours:
        return contender.name == KrstreamContender().name;
    }
    return false;
}

template <typename Number>
Number MedianOf(std::vector<Number> numbers) {
    std::sort(numbers.begin(), numbers.end());
    return numbers[numbers.size() / 2];
}

/// A process that is moved between processors while it works pays for it, but not every time.
void StayOnThisProcessor() {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(static_cast<std::size_t>(std::max(0, sched_getcpu())), &processors);
    sched_setaffinity(0, sizeof processors, &processors);
}

} // namespace

Bench::Bench(Options options)
    : options_(std::move(options)),
      disk_(MakeFolder(options_.diskFolder)),
      memory_(MakeFolder(options_.memoryFolder)) {}

Bench::~Bench() {
    boost::system::error_code ignored;
    fs::remove_all(disk_, ignored);
    fs::remove_all(memory_, ignored);
}

// In turn, so that what goes on in the machine meanwhile, such as the end of a disk's work for the
// row before, spoils a sample of each at most.
std::vector<Standing> Bench::Run(const Row& row) {
    std::vector<Series> all = SeriesFor(row);
    for (std::size_t i = 0; i < options_.samples; ++i) {
        for (Series& series : all) {
            const Sample counterpart = Take(row, series.counterpart);
            series.Add(Take(row, series.store), counterpart);
        }
    }
    std::vector<Standing> standings;
    std::transform(all.begin(), all.end(), std::back_inserter(standings), StandingOf);
    return standings;
}

std::vector<Bench::Series> Bench::SeriesFor(const Row& row) const {
    std::vector<Series> all;
    for (const Contender& contender : AllContenders()) {
        const bool wanted =
            options_.stores.empty() ||
            std::count(options_.stores.begin(), options_.stores.end(), contender.name) != 0;
        if (wanted && TakesPart(row, contender)) {
            all.push_back({contender.name, kCounterpart});
        }
    }
    if (row.floor != nullptr) {
        all.push_back({kFloor, row.floorCounterpart == nullptr ? kCounterpart : kFloorCounterpart});
    }
    return all;
}

void Bench::Series::Add(const Sample& sample, const Sample& ofCounterpart) {
    ratios.push_back(sample.seconds / ofCounterpart.seconds);
    written.push_back(sample.bytesWritten);
    memory.push_back(static_cast<std::int64_t>(sample.peakMemory) -
                     static_cast<std::int64_t>(ofCounterpart.peakMemory));
}

Standing Bench::StandingOf(const Series& series) {
    Standing standing{series.store, series.ratios, MedianOf(series.written),
                      MedianOf(series.memory)};
    std::sort(standing.ratios.begin(), standing.ratios.end());
    return standing;
}

Sample Bench::Take(const Row& row, const std::string& store) {
    const fs::path& folder = FolderOf(row.place);
    const std::string path = StartOf(row, store);
    const fs::path scratch = folder / "scratch";
    if (!options_.small) {
        // What others left to be written must not be paid for here.
        sync();
    }
    Sample sample;
    std::istringstream(
        RunSelf({"sample", row.id, store, path, scratch.string()}, options_.small)) >>
        sample.seconds >> sample.bytesWritten >> sample.peakMemory;
    fs::remove_all(scratch);
    fs::remove(scratch.string() + ".kr");
    if (row.start == Dataset::None) {
        fs::remove_all(path);
    }
    return sample;
}

const fs::path& Bench::FolderOf(Row::Place place) const {
    return place == Row::Place::Disk ? disk_ : memory_;
}

// The store that a sample starts from, made when it is first asked for; or a free place.
std::string Bench::StartOf(const Row& row, const std::string& store) {
    const fs::path& folder = FolderOf(row.place);
    if (row.start == Dataset::None) {
        return (folder / "fresh").string();
    }
    const bool onOurStore = store == kFloor || (store == kCounterpart && row.counterpartNeedsStore);
    const std::string owner = onOurStore ? KrstreamContender().name : store;
    std::string path = (folder / (owner + std::to_string(static_cast<int>(row.start)))).string();
    if (built_.insert(path).second) {
        RunSelf({"build", row.id, owner, path}, options_.small);
    }
    return path;
}

void BuildStart(const std::string& row, const std::string& store, const std::string& path,
                const Sizes& sizes) {
    const Dataset start = FindRow(row).start;
    if (store == kCounterpart) {
        BuildPlain(start, sizes, path);
    } else {
        Build(start, sizes, *FindContender(AllContenders(), store).make(), path);
    }
}

Sample TakeSample(const std::string& row, const std::string& store, const std::string& path,
                  const std::string& scratch, const Sizes& sizes) {
    const Job job{sizes, path, scratch};
    const Row& which = FindRow(row);
    StayOnThisProcessor();
    WarmUp(std::max(sizes.smallStreams, sizes.mediumStreams));
    if (store == kCounterpart) {
        return which.counterpartMeasure(job);
    }
    if (store == kFloor || store == kFloorCounterpart) {
        return store == kFloor ? which.floor(job) : which.floorCounterpart(job);
    }
    return which.measure(job, FindContender(AllContenders(), store));
}
