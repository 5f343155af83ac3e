#include "benchmarks/Bench.h"
#include "benchmarks/Report.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iostream>

namespace {

struct Arguments {
    Options options;
    std::vector<std::string> rows;
    std::string json;
    /// What a started process does: row, store, path, scratch.
    std::string row;
    std::string store;
    std::string path;
    std::string scratch;
};

Sizes SizesOf(const Options& options) {
    return options.small ? Sizes::ForTrying() : Sizes();
}

/// Whether the row's name begins with one of the words asked for.
bool IsWanted(const Row& row, const std::vector<std::string>& words) {
    const std::string id = row.id + ' ';
    return words.empty() || std::any_of(words.begin(), words.end(), [&](const std::string& word) {
               return id.rfind(word + ' ', 0) == 0;
           });
}

void PrintTable(const Arguments& arguments) {
    nlohmann::ordered_json report = Surroundings(arguments.options);
    std::cout << report.dump(2) << "\n\n";
    Bench bench(arguments.options);
    for (const Row& row : AllRows()) {
        if (IsWanted(row, arguments.rows)) {
            const std::vector<Standing> standings = bench.Run(row);
            PrintRow(std::cout, row, standings);
            report["rows"].push_back(RowAsJson(row, standings));
        }
    }
    if (!arguments.json.empty()) {
        std::ofstream(arguments.json) << report.dump(2) << '\n';
    }
}

void PrintSample(const Arguments& arguments) {
    const Sample sample = TakeSample(arguments.row, arguments.store, arguments.path,
                                     arguments.scratch, SizesOf(arguments.options));
    std::cout << std::setprecision(12) << sample.seconds << ' ' << sample.bytesWritten << ' '
              << sample.peakMemory << '\n';
}

/// A process that takes one sample; Bench starts it.
void AddStep(CLI::App& app, const char* name, Arguments& arguments) {
    CLI::App* const step = app.add_subcommand(name)->group("");
    step->add_option("row", arguments.row)->required();
    step->add_option("store", arguments.store)->required();
    step->add_option("path", arguments.path)->required();
    step->add_option("scratch", arguments.scratch);
    step->add_flag("--small", arguments.options.small);
}

void Run(int argc, const char* const* argv) {
    Arguments arguments;
    CLI::App app("Measures TALVOkrstream, its peers and bare system calls side by side and prints "
                 "ratios.");
    app.add_option("--rows", arguments.rows, "Only these rows, as in W1 W4")->type_name("ROW");
    app.add_option("--stores", arguments.options.stores, "Only these stores")->type_name("STORE");
    app.add_option("--samples", arguments.options.samples, "Samples of each row and store")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--folder", arguments.options.diskFolder, "Where on a disk to work")
        ->default_val("/var/tmp");
    app.add_option("--memory-folder", arguments.options.memoryFolder, "Where in memory to work")
        ->default_val("/dev/shm");
    app.add_option("--json", arguments.json, "Also write the table to this file")
        ->type_name("FILE");
    app.add_flag("--small", arguments.options.small,
                 "A fraction of the work, to see whether the program works");
    AddStep(app, "build", arguments);
    AddStep(app, "sample", arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::exit(app.exit(error));
    }
    if (app.got_subcommand("build")) {
        BuildStart(arguments.row, arguments.store, arguments.path, SizesOf(arguments.options));
    } else if (app.got_subcommand("sample")) {
        PrintSample(arguments);
    } else {
        PrintTable(arguments);
    }
}

} // namespace

int main(int argc, char* argv[]) {
#ifndef NDEBUG
    std::cerr << "krstream_bench: built without optimisation; its figures would mean nothing\n";
    return 1;
#endif
    try {
        Run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "krstream_bench: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
