#include "Amounts.h"
#include "MapCells.h"
#include "MapPictures.h"
#include "MapStyle.h"
#include "MapText.h"
#include "Names.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace {

constexpr std::size_t kMaxRows = 16;
constexpr std::size_t kMinCellsPerRow = 16;
constexpr std::size_t kMaxCellsPerRow = 128;
/// The number of a row's first block, and a blank.
constexpr std::size_t kNumberColumns = 11;

std::size_t CellsPerRow(std::size_t columns) {
    std::size_t cells = kMinCellsPerRow;
    while (cells * 2 <= kMaxCellsPerRow && cells * 2 + kNumberColumns <= columns) {
        cells *= 2;
    }
    return cells;
}

std::string Padded(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string Coloured(const std::string& text, Look look) {
    const LookStyle& style = StyleOf(look);
    return "\x1b[48;5;" + std::to_string(style.background) + ";38;5;" +
           std::to_string(style.foreground) + 'm' + text + "\x1b[0m";
}

/// Runs that a character for a cell shows alike, put together.
std::vector<CellRun> ShownRuns(const MapCells& cells) {
    std::vector<CellRun> shown;
    for (const CellRun& run : cells.Runs()) {
        const bool more = cells.BlocksPerCell() > 1 && !shown.empty();
        if (more && shown.back().most == run.most) {
            shown.back().cells += run.cells;
        } else {
            shown.push_back(run);
        }
    }
    return shown;
}

/// The cells from `first` on, up to `count`, of a run. A piece of an entry begins with a capital
/// letter.
std::string CellText(const CellRun& run, std::uint64_t first, std::uint64_t count, bool colours) {
    const char symbol = StyleOf(run.most).symbol;
    const bool letter = IsOfEntry(run.most);
    const auto small = static_cast<char>(std::tolower(static_cast<unsigned char>(symbol)));
    std::string text(count, letter && colours ? ' ' : small);
    if (letter && first == run.firstCell) {
        text.front() = symbol;
    }
    return colours ? Coloured(text, run.most) : text;
}

/// The rows of cells, each behind the number of its first block.
std::string Rows(const MapCells& cells, std::size_t perRow, bool colours) {
    std::string text;
    for (const CellRun& run : ShownRuns(cells)) {
        const std::uint64_t end = run.firstCell + run.cells;
        for (std::uint64_t at = run.firstCell; at < end;) {
            if (at % perRow == 0) {
                text += (at == 0 ? "" : "\n") +
                        Padded(std::to_string(at * cells.BlocksPerCell() + 1), kNumberColumns - 1) +
                        ' ';
            }
            const std::uint64_t next = std::min(end, (at / perRow + 1) * perRow);
            text += CellText(run, at, next - at, colours);
            at = next;
        }
    }
    return text + "\n\n";
}

std::string LegendRow(const BlockMap::Group& group, bool colours) {
    const std::string symbol(1, StyleOf(group.look).symbol);
    const bool entry = IsOfEntry(group.look);
    std::string line = (colours ? Coloured(symbol, group.look) : symbol) +
                       Padded(entry ? ReadableSize(group.bytes) : "", 12) +
                       Padded(Counted(group.blocks, "block"), 15) +
                       Padded(entry ? Counted(group.pieces, "piece") : "", 12) + "  ";
    return line + LegendName(group) + '\n';
}

std::string CellsNote(const MapCells& cells, bool colours) {
    const std::string begins =
        std::string(colours ? "A letter" : "A capital letter") + " is where ";
    if (cells.BlocksPerCell() == 1) {
        return "A character is one block. " + begins + "a piece of an entry begins.\n";
    }
    return "A character is " + std::to_string(cells.BlocksPerCell()) +
           " blocks and shows what most of them are. " + begins + "that changes.\n";
}

} // namespace

std::string DrawText(const Pictured& pictured, std::size_t columns, bool colours) {
    const std::size_t perRow = CellsPerRow(columns);
    const MapCells cells(pictured.map, perRow * kMaxRows);
    std::string text = Printable(pictured.title) + '\n';
    for (const std::string& line : SummaryLines(pictured.map, pictured.encrypted)) {
        text += line + '\n';
    }
    const std::string damage = DamageLine(pictured.map);
    text += damage.empty() ? "" : damage + '\n';
    if (cells.Count() == 0) {
        return text;
    }
    text += '\n' + Rows(cells, perRow, colours);
    for (const BlockMap::Group& group : pictured.map.Groups()) {
        text += LegendRow(group, colours);
    }
    return text + '\n' + CellsNote(cells, colours);
}
