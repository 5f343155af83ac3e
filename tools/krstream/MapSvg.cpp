#include "Amounts.h"
#include "MapCells.h"
#include "MapGrid.h"
#include "MapPictures.h"
#include "MapStyle.h"
#include "MapText.h"
#include "Names.h"
#include "OpenFile.h"
#include "Svg.h"

#include <algorithm>
#include <vector>

namespace {

constexpr std::uint64_t kMaxCells = 3072;
constexpr int kPictureWidth = 936;
constexpr int kMargin = 24;
constexpr int kGridLeft = 80;
constexpr int kGridRight = 912;
constexpr int kLineHeight = 19;
constexpr int kLegendRow = 24;
/// Right ends of columns of the legend.
constexpr int kSizeRight = 640;
constexpr int kBlocksRight = 770;
constexpr const char* kQuietColour = "#52606d";
constexpr const char* kDamageColour = "#b00020";

std::string Filled(const std::string& colour, const std::string& elements) {
    return "<g fill='" + colour + "'>" + elements + "</g>\n";
}

/// Sets a symbol off from hatching behind it.
std::string Halo(Look look) {
    const bool hatched = look == Look::Orphan || look == Look::Damaged;
    return hatched ? " stroke='#fff' stroke-width='4' paint-order='stroke'" : "";
}

/// Fills that look different from every colour, also on paper.
constexpr const char* kHatchings = R"(
<pattern id='free' width='4' height='4' patternUnits='userSpaceOnUse'>
<path fill='#f1f4f7' d='M0 0h4v4h-4z'/><path fill='#aab4bf' d='M1 1h1v1h-1z'/></pattern>
<pattern id='orphan' width='6' height='6' patternUnits='userSpaceOnUse'>
<path fill='#fff' d='M0 0h6v6h-6z'/>
<path stroke='#e69f00' stroke-width='2' d='M-1 1l2 -2M0 6l6 -6M5 7l2 -2'/></pattern>
<pattern id='damaged' width='6' height='6' patternUnits='userSpaceOnUse'>
<path fill='#fff' d='M0 0h6v6h-6z'/>
<path stroke='#d50032' stroke-width='2' d='M0 0l6 6M6 0l-6 6'/></pattern>
)";

/// The lines between cells, from the corner of the first one on.
std::string GridPattern(const MapGrid& grid) {
    const std::string side = std::to_string(grid.Cell());
    return "<pattern id='grid' width='" + side + "' height='" + side + "' x='" +
           std::to_string(grid.Left()) + "' y='" + std::to_string(grid.Top()) +
           "' patternUnits='userSpaceOnUse'><path fill='none' stroke='#fff' "
           "stroke-opacity='0.75' d='M0 " +
           side + "V0H" + side + "'/></pattern>\n";
}

/// What every picture begins with: its fills and its own background.
std::string Frame(int height, const MapGrid& grid) {
    const std::string width = std::to_string(kPictureWidth);
    const std::string size = "width='" + width + "' height='" + std::to_string(height) + "'";
    return "<svg xmlns='http://www.w3.org/2000/svg' " + size + " viewBox='0 0 " + width + ' ' +
           std::to_string(height) +
           "' font-family='system-ui, DejaVu Sans, sans-serif' font-size='13' fill='#1f2933'>\n" +
           "<defs>" + kHatchings + GridPattern(grid) + "</defs>\n<rect " + size +
           " rx='8' fill='#fff'/>\n";
}

/// A run of cells with a tooltip. Where cells have two looks, each cell is divided.
std::string Run(const CellRun& run, const Pictured& pictured, const MapCells& cells,
                const MapGrid& grid) {
    const std::string title = "<title>" + Xml(RunText(run, pictured.map, cells)) + "</title>";
    const std::string area = grid.Area(run.firstCell, run.cells);
    if (!run.IsMixed()) {
        return Path(area, StyleOf(run.left).fill, title);
    }
    std::string parts;
    const int width = std::max(1, grid.Cell() * static_cast<int>(run.eighths) / 8);
    for (std::uint64_t cell = run.firstCell; cell < run.firstCell + run.cells; ++cell) {
        parts += RectanglePath(grid.X(cell), grid.Y(cell), width, grid.Cell());
    }
    return "<g>" + title + Path(area, StyleOf(run.right).fill) +
           Path(parts, StyleOf(run.left).fill) + "</g>\n";
}

/// A bar at each cell in which a piece of an entry begins.
std::string PieceStarts(const MapCells& cells, const MapGrid& grid) {
    std::string path;
    const int width = std::clamp(grid.Cell() / 8, 2, 4);
    for (const std::uint64_t cell : cells.Starts()) {
        path += RectanglePath(grid.X(cell), grid.Y(cell), width, grid.Cell());
    }
    return path.empty() ? path : Path(path, "#000");
}

int SymbolSize(const MapGrid& grid) {
    return std::min(16, grid.Cell() * 7 / 10);
}

/// The symbol in a run's first cell, with the number of the piece where there is room for it.
std::string Symbol(const CellRun& run, const BlockMap& map, const MapGrid& grid) {
    const LookStyle& style = StyleOf(run.left);
    std::string text(1, style.symbol);
    const std::uint64_t room = std::min(run.cells, grid.PerRow() - run.firstCell % grid.PerRow()) *
                               static_cast<std::uint64_t>(grid.Cell());
    const int size = SymbolSize(grid);
    const Piece& piece = map.Pieces()[run.piece];
    if (IsOfEntry(run.left) && map.PiecesOf(piece) > 1) {
        const std::string number = std::to_string(piece.number);
        if ((text.size() + number.size()) * static_cast<std::size_t>(size) <= room) {
            text += number;
        }
    }
    const int inset = std::max(3, grid.Cell() / 5);
    return "<text x='" + std::to_string(grid.X(run.firstCell) + inset) + "' y='" +
           std::to_string(grid.Y(run.firstCell) + (grid.Cell() + size) / 2 - size / 8) +
           "' fill='" + style.text + "'" + Halo(run.left) + '>' + text + "</text>\n";
}

std::string Symbols(const MapCells& cells, const BlockMap& map, const MapGrid& grid) {
    std::string text =
        "<g pointer-events='none' font-size='" + std::to_string(SymbolSize(grid)) + "'>\n";
    for (const CellRun& run : cells.Runs()) {
        if (run.left != Look::Free) {
            text += Symbol(run, map, grid);
        }
    }
    return text + "</g>\n";
}

/// Marks on cells that have blocks which their colours do not show: a corner for the directory;
/// what is wrong takes the whole cell, so that nobody misses one block in thousands.
std::string HiddenBlocks(const MapCells& cells, const MapGrid& grid) {
    std::string corners;
    for (const std::uint64_t cell : cells.Hiding(Look::Directory)) {
        corners += 'M' + std::to_string(grid.X(cell) + grid.Cell()) + ' ' +
                   std::to_string(grid.Y(cell)) + "v6l-6 -6z";
    }
    std::string marks = corners.empty() ? "" : Path(corners, StyleOf(Look::Directory).fill);
    for (const Look look : {Look::Orphan, Look::Damaged}) {
        for (const std::uint64_t cell : cells.Hiding(look)) {
            marks += Path(grid.Area(cell, 1), StyleOf(look).fill);
        }
    }
    return marks;
}

std::string RowLabels(const MapCells& cells, const MapGrid& grid) {
    std::string text = "<g font-size='11' text-anchor='end'>\n";
    const std::uint64_t step = grid.Cell() < kLineHeight ? 4 : 1;
    for (std::uint64_t row = 0; row < grid.Rows(); row += step) {
        const std::uint64_t cell = row * grid.PerRow();
        text += Text(kGridLeft - 8, grid.Y(cell) + grid.Cell() / 2 + 4,
                     std::to_string(cell * cells.BlocksPerCell() + 1));
    }
    return Filled(kQuietColour, text + "</g>");
}

std::vector<std::string> Notes(const MapCells& cells) {
    const std::string order = " in the order of the file; the numbers on the left are blocks.";
    if (cells.BlocksPerCell() == 1) {
        return {"A cell is one block of 1 KiB," + order,
                "A black bar is where a piece of an entry begins; A2 is the second piece of A."};
    }
    std::vector<std::string> notes = {
        "A cell is " + std::to_string(cells.BlocksPerCell()) + " blocks, " +
        ReadableSize(cells.BlocksPerCell() * kBlockSize) + "," + order};
    std::string looks = "Its one or two colours are what most of its blocks are. "
                        "Black bar: a piece of an entry begins.";
    looks += cells.Hiding(Look::Directory).empty() ? "" : " Black corner: directory.";
    notes.push_back(looks);
    if (!cells.Hiding(Look::Damaged).empty() || !cells.Hiding(Look::Orphan).empty()) {
        notes.emplace_back("A hatched cell has at least one block of that kind.");
    }
    return notes;
}

std::string LegendHead(int y) {
    return Filled(kQuietColour, "<g font-size='11'>" + Text(kGridLeft, y, "largest first") +
                                    "<g text-anchor='end'>" + Text(kSizeRight, y, "size") +
                                    Text(kBlocksRight, y, "blocks") +
                                    Text(kGridRight, y, "pieces") + "</g></g>");
}

std::string LegendLine(const BlockMap::Group& group, int y) {
    constexpr std::size_t kNameLength = 54;
    const LookStyle& style = StyleOf(group.look);
    const bool entry = IsOfEntry(group.look);
    const std::string name = LegendName(group);
    std::string line =
        "<g><title>" + Xml(name) + "</title>" + "<rect x='" + std::to_string(kGridLeft) + "' y='" +
        std::to_string(y - 14) + "' width='18' height='18' fill='" + style.fill +
        "' stroke='#cbd2d9'/>" + "<text x='" + std::to_string(kGridLeft + 9) + "' y='" +
        std::to_string(y) + "' text-anchor='middle' font-size='12' fill='" + style.text + "'" +
        Halo(group.look) + '>' + (group.look == Look::Free ? ' ' : style.symbol) + "</text>" +
        Text(kGridLeft + 28, y, Xml(Shortened(name, kNameLength))) + "<g text-anchor='end'>";
    line += entry ? Text(kSizeRight, y, ReadableSize(group.bytes)) : "";
    line += Text(kBlocksRight, y, std::to_string(group.blocks));
    line += entry ? Text(kGridRight, y, std::to_string(group.pieces)) : "";
    return line + "</g></g>\n";
}

std::string Legend(const BlockMap& map, int top) {
    std::string text = LegendHead(top);
    for (const BlockMap::Group& group : map.Groups()) {
        top += kLegendRow;
        text += LegendLine(group, top);
    }
    return text;
}

/// Name, sums, what is wrong, how to read the picture; `y` becomes the lowest line's.
std::string Header(const Pictured& pictured, const MapCells& cells, int& y) {
    y = kMargin + 16;
    std::string text = "<title>" + Xml(Printable(pictured.title)) + "</title>\n" +
                       "<g font-size='20' font-weight='600'>" +
                       Text(kMargin, y, Xml(Shortened(Printable(pictured.title), 72))) + "</g>\n";
    y += 5;
    for (const std::string& line : SummaryLines(pictured.map, pictured.encrypted)) {
        text += Text(kMargin, y += kLineHeight, Xml(line));
    }
    const std::string damage = DamageLine(pictured.map);
    if (!damage.empty()) {
        text += Filled(kDamageColour, Text(kMargin, y += kLineHeight, Xml(damage)));
    }
    if (cells.Count() > 0) {
        for (const std::string& line : Notes(cells)) {
            text += Filled(kQuietColour, Text(kMargin, y += kLineHeight, Xml(line)));
        }
    }
    return text;
}

/// The cells and all that is drawn on them.
std::string Grid(const Pictured& pictured, const MapCells& cells, const MapGrid& grid) {
    std::string text = "<g shape-rendering='crispEdges'>\n";
    for (const CellRun& run : cells.Runs()) {
        text += Run(run, pictured, cells, grid);
    }
    text += "</g>\n<g pointer-events='none' shape-rendering='crispEdges'>\n" +
            Path(grid.Area(0, cells.Count()), "url(#grid)");
    text += PieceStarts(cells, grid) + HiddenBlocks(cells, grid) + "</g>\n";
    text += cells.BlocksPerCell() == 1 ? Symbols(cells, pictured.map, grid) : "";
    return text + RowLabels(cells, grid);
}

} // namespace

std::string DrawSvg(const Pictured& pictured) {
    const MapCells cells(pictured.map, kMaxCells);
    int bottom = 0;
    const std::string header = Header(pictured, cells, bottom);
    const MapGrid grid(cells.Count(), kGridLeft, bottom + kMargin - 4);
    if (cells.Count() == 0) {
        return Frame(bottom + kMargin, grid) + header + "</svg>\n";
    }
    const int legend = grid.Top() + grid.Height() + kMargin + 8;
    const auto rows = static_cast<int>(pictured.map.Groups().size());
    return Frame(legend + rows * kLegendRow + kMargin, grid) + header +
           Grid(pictured, cells, grid) + Legend(pictured.map, legend) + "</svg>\n";
}
