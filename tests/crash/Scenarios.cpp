#include "tests/crash/Scenarios.h"

#include <cstdlib>
#include <random>

namespace {

const Model kBefore = {
    {"a", Pattern(5000, 1)},  {"b", Pattern(1003, 2)}, {"c", ""},
    {"d", Pattern(20, 3)},    {"e", Pattern(9000, 4)}, {"keep", Pattern(2500, 5)},
    {"last", Pattern(700, 6)}};

void PutMany(Work& work) {
    for (unsigned i = 0; i < 14; ++i) {
        work.Put("small" + std::to_string(i), Pattern(std::size_t{90} * i, i));
    }
}

using Names = std::vector<std::string>;

void BeginAll(Work& work, const Names& names) {
    for (const std::string& name : names) {
        work.Begin(name);
    }
}

void FinishAll(Work& work, const Names& names) {
    for (const std::string& name : names) {
        work.Finish(name);
    }
}

void PutAtOnce(Work& work, const Names& names) {
    BeginAll(work, names);
    for (unsigned round = 0; round < 3; ++round) {
        for (const std::string& name : names) {
            work.Write(name, Pattern(11000 + 700 * round, round));
        }
        work.Flush();
    }
    FinishAll(work, names);
}

std::size_t RandomSize(std::mt19937& random) {
    constexpr std::size_t sizes[] = {0, 1, 20, 1002, 1003, 1004, 2006, 3000, 7021, 14000, 21000};
    return random() % 4 == 0 ? random() % 30000 : sizes[random() % std::size(sizes)];
}

/// One change of a file; `open` are the streams that stay open meanwhile.
void ChangeAtRandom(Work& work, std::mt19937& random, std::set<std::string>& open) {
    const std::vector<std::string> names = work.Names();
    const std::string known = names.empty() ? "" : names[random() % names.size()];
    const std::string any = "n" + std::to_string(random() % 12);
    const std::string bytes = Pattern(RandomSize(random), static_cast<unsigned>(random()));
    const auto choice = random() % 20;
    if (choice < 4 && open.count(any) == 0) {
        work.Put(any, bytes);
    } else if (choice < 6 && !known.empty()) {
        work.Change(known, random() % (work.SizeOf(known) + 1), bytes);
    } else if (choice < 8 && !known.empty()) {
        work.Delete(known);
    } else if (choice < 9) {
        work.Flush();
    } else if (choice < 13 && open.count(any) == 0) {
        work.Begin(any);
        open.insert(any);
    } else if (choice < 17 && !open.empty()) {
        work.Write(*std::next(open.begin(), static_cast<std::ptrdiff_t>(random() % open.size())),
                   bytes);
    } else if (choice < 18 && !open.empty()) {
        work.Finish(*open.begin());
        open.erase(open.begin());
    } else if (open.empty()) {
        work.Reopen();
    }
}

} // namespace

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> scenarios = {
        {"create",
         {},
         [](Work& work) {
             work.Put("a", Pattern(20000, 9));
             PutMany(work);
         }},
        {"add", kBefore, PutMany},
        {"replace", kBefore,
         [](Work& work) {
             work.Put("a", Pattern(14000, 9));
             work.Put("e", Pattern(900, 9));
             work.Put("b", Pattern(1003, 9));
         }},
        {"change", kBefore,
         [](Work& work) {
             work.Change("e", 1500, Pattern(6000, 9));
             work.Change("b", 1003, Pattern(9000, 9));
         }},
        {"delete", kBefore,
         [](Work& work) {
             work.Delete("a");
             work.Delete("c");
             work.Flush();
             work.Put("new", Pattern(3000, 9));
         }},
        {"at_once", kBefore,
         [](Work& work) {
             PutAtOnce(work, {"x", "a", "z"});
         }},
        // The first blocks of a new file wait for one call, the second of its directory among them.
        {"begin_at_once",
         {},
         [](Work& work) {
             const Names names = {"a", "b", "c", "d"};
             BeginAll(work, names);
             FinishAll(work, names);
         }},
        // The last block that a stream holds was another entry's.
        {"flush_between",
         {{"big", Pattern(20000, 1)}, {"keep", Pattern(10, 2)}},
         [](Work& work) {
             work.Delete("big");
             work.Flush();
             PutAtOnce(work, {"half"});
         }},
        // The next block of a chain to be written was followed by one that another entry has now.
        {"stale_link",
         {{"keep", Pattern(10, 1)}, {"low", Pattern(20, 2)}},
         [](Work& work) {
             work.Begin("old");
             work.Write("old", Pattern(11000, 9));
             work.Delete("low");
             work.Write("old", Pattern(11000, 10));
             work.Finish("old");
             work.Delete("old");
             work.Flush();
             work.Put("other", Pattern(20, 11));
             work.Begin("new");
             work.Flush();
             work.Write("new", Pattern(11000, 12));
             work.Finish("new");
         }},
        {"encipher", kBefore,
         [](Work& work) {
             work.Encrypt("first");
             work.Put("a", Pattern(3000, 9));
             work.Encrypt("second");
             work.Reopen();
             work.Change("e", 8000, Pattern(3000, 9));
             work.Decrypt();
         }},
        // The directory's first block, which then leads to the second, is on its way before it.
        {"encipher_begun",
         {},
         [](Work& work) {
             const Names names = {"a", "b", "c", "d"};
             BeginAll(work, names);
             work.Encrypt("first");
             FinishAll(work, names);
         }},
        {"go_on", kBefore,
         [](Work& work) {
             work.Delete("a");
             work.Reopen();
             PutMany(work);
             work.Reopen();
             work.Put("small3", Pattern(6000, 9));
         }},
        {"sync", kBefore,
         [](Work& work) {
             PutMany(work);
             work.Sync();
             work.Put("small3", Pattern(6000, 9));
             work.Sync();
         }},
    };
    return scenarios;
}

Scenario RandomScenario(unsigned seed) {
    std::mt19937 random(seed);
    Scenario scenario;
    scenario.name = "seed " + std::to_string(seed);
    for (auto i = random() % 9; i > 0; --i) {
        scenario.before["n" + std::to_string(i)] =
            Pattern(RandomSize(random), static_cast<unsigned>(seed + i));
    }
    const auto changes = random() % 14 + 2;
    scenario.run = [random, changes](Work& work) mutable {
        std::set<std::string> open;
        for (auto i = changes; i > 0; --i) {
            ChangeAtRandom(work, random, open);
        }
        for (const std::string& name : open) {
            work.Finish(name);
        }
    };
    return scenario;
}

unsigned SeedCount() {
    const char* const asked = std::getenv("KRSTREAM_CRASH_SEEDS");
    return asked == nullptr ? 3 : static_cast<unsigned>(std::strtoul(asked, nullptr, 10));
}
