#pragma once

#include "benchmarks/Bench.h"

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <string>
#include <vector>

/// The machine, the program and the sizes that the figures belong to.
nlohmann::ordered_json Surroundings(const Options& options);

/// One row as text, a line for each store.
void PrintRow(std::ostream& out, const Row& row, const std::vector<Standing>& standings);
nlohmann::ordered_json RowAsJson(const Row& row, const std::vector<Standing>& standings);
