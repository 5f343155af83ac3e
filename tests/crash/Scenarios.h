#pragma once

#include "tests/crash/Work.h"

#include <functional>

/// A piece of daily work on one compound file.
struct Scenario {
    std::string name;
    Model before;
    std::function<void(Work&)> run;
};

/// One of each kind.
const std::vector<Scenario>& Scenarios();
/// Whatever the seed makes of them.
Scenario RandomScenario(unsigned seed);
/// How many random ones a test tries: those that KRSTREAM_CRASH_SEEDS asks for, or a few.
unsigned SeedCount();
