#pragma once

#include "benchmarks/Rows.h"

#include <boost/filesystem/path.hpp>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

/// How one store did a row's work, each sample beside one of the counterpart taken right before it.
struct Standing {
    std::string store;
    /// Time as a multiple of the counterpart's, one a sample, ascending.
    std::vector<double> ratios;
    /// Medians: bytes handed to the operating system, and the peak of resident memory above the
    /// counterpart's.
    std::uint64_t bytesWritten;
    std::int64_t memoryAboveCounterpart;

    double Median() const { return ratios[ratios.size() / 2]; }
};

struct Options {
    std::string diskFolder;
    std::string memoryFolder;
    std::size_t samples = 5;
    /// Names of the stores to compare; all when empty.
    std::vector<std::string> stores;
    /// Only a fraction of the work, to see whether the program works.
    bool small = false;
};

/// Takes the samples, each in a process of its own. Its folders are removed with it.
class Bench {
public:
    explicit Bench(Options options);
    ~Bench();
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    /// How each store that takes part in the row did it.
    std::vector<Standing> Run(const Row& row);

private:
    using Path = boost::filesystem::path;

    /// The samples of one store.
    struct Series {
        void Add(const Sample& sample, const Sample& ofCounterpart);

        std::string store;
        std::string counterpart;
        std::vector<double> ratios = {};
        std::vector<std::uint64_t> written = {};
        std::vector<std::int64_t> memory = {};
    };

    const Path& FolderOf(Row::Place place) const;
    std::string StartOf(const Row& row, const std::string& store);
    Sample Take(const Row& row, const std::string& store);
    std::vector<Series> SeriesFor(const Row& row) const;
    static Standing StandingOf(const Series& series);

    const Options options_;
    const Path disk_;
    const Path memory_;
    /// Where the stores are that were built so far.
    std::set<std::string> built_;
};

/// The entry points of the processes that Bench starts.
void BuildStart(const std::string& row, const std::string& store, const std::string& path,
                const Sizes& sizes);
Sample TakeSample(const std::string& row, const std::string& store, const std::string& path,
                  const std::string& scratch, const Sizes& sizes);

/// The names by which samples of a row's counterpart and of its floor are asked for.
constexpr char kCounterpart[] = "counterpart";
constexpr char kFloor[] = "(floor)";
constexpr char kFloorCounterpart[] = "(floor's counterpart)";
