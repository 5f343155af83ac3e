#pragma once

#include "BlockMap.h"
#include "MapCells.h"

#include <string>
#include <vector>

/// What a picture of a file says in words, the same in all kinds of pictures. Texts are printable.

/// Sizes and counts, a line each.
std::vector<std::string> SummaryLines(const BlockMap& map, bool encrypted);

/// What is damaged; empty when nothing is.
std::string DamageLine(const BlockMap& map);

/// Name of a group in the legend.
std::string LegendName(const BlockMap::Group& group);

/// What a run of cells is.
std::string RunText(const CellRun& run, const BlockMap& map, const MapCells& cells);
