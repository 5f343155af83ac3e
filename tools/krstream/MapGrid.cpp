#include "MapGrid.h"

#include <algorithm>

namespace {

constexpr int kGridWidth = 832;

std::uint64_t CellsPerRowFor(std::uint64_t cells) {
    constexpr std::uint64_t kFew = 64;
    constexpr std::uint64_t kSome = 512;
    if (cells <= kFew) {
        return 16;
    }
    return cells <= kSome ? 32 : 64;
}

} // namespace

MapGrid::MapGrid(std::uint64_t cells, int left, int top)
    : cells_(cells),
      perRow_(CellsPerRowFor(cells)),
      cell_(kGridWidth / static_cast<int>(perRow_)),
      left_(left),
      top_(top) {}

std::string MapGrid::Area(std::uint64_t first, std::uint64_t count) const {
    std::string path;
    const std::uint64_t end = first + count;
    while (first < end) {
        const std::uint64_t column = first % perRow_;
        const bool fullRows = column == 0 && end - first >= perRow_;
        const std::uint64_t rows = fullRows ? (end - first) / perRow_ : 1;
        const std::uint64_t width = fullRows ? perRow_ : std::min(end - first, perRow_ - column);
        path += RectanglePath(X(first), Y(first), static_cast<int>(width) * cell_,
                              static_cast<int>(rows) * cell_);
        first += width * rows;
    }
    return path;
}

std::string RectanglePath(int x, int y, int width, int height) {
    return 'M' + std::to_string(x) + ' ' + std::to_string(y) + 'h' + std::to_string(width) + 'v' +
           std::to_string(height) + 'h' + std::to_string(-width) + 'z';
}
