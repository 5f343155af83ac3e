#include "MapCells.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace {

constexpr unsigned kEighths = 8;

std::uint64_t CellsFor(std::uint64_t blocks, std::uint64_t blocksPerCell) {
    return (blocks + blocksPerCell - 1) / blocksPerCell;
}

Look Largest(const std::vector<std::uint64_t>& counts) {
    return static_cast<Look>(std::max_element(counts.begin(), counts.end()) - counts.begin());
}

} // namespace

MapCells::MapCells(const BlockMap& map, std::uint64_t maxCells) : hiding_(kLookCount) {
    while (CellsFor(map.BlockCount(), blocksPerCell_) > maxCells) {
        blocksPerCell_ *= 2;
    }
    count_ = CellsFor(map.BlockCount(), blocksPerCell_);
    FindStarts(map);
    if (blocksPerCell_ == 1) {
        RunPerPiece(map);
    } else {
        SumUp(map);
    }
}

void MapCells::FindStarts(const BlockMap& map) {
    for (const Piece& piece : map.Pieces()) {
        const std::uint64_t cell = (piece.first - 1) / blocksPerCell_;
        if (IsOfEntry(piece.look) && (starts_.empty() || starts_.back() != cell)) {
            starts_.push_back(cell);
        }
    }
}

void MapCells::RunPerPiece(const BlockMap& map) {
    for (std::size_t i = 0; i < map.Pieces().size(); ++i) {
        const Piece& piece = map.Pieces()[i];
        runs_.push_back({piece.first - 1, piece.count, piece.first, piece.count, piece.look,
                         piece.look, piece.look, kEighths, i});
    }
}

void MapCells::SumUp(const BlockMap& map) {
    Cell cell;
    std::uint64_t filled = 0;
    std::uint64_t number = 0;
    for (const Piece& piece : map.Pieces()) {
        const std::size_t look = Index(piece.look);
        for (std::uint64_t left = piece.count; left > 0;) {
            const std::uint64_t taken = std::min(left, blocksPerCell_ - filled);
            cell.begin[look] = cell.blocks[look] == 0 ? filled : cell.begin[look];
            cell.blocks[look] += taken;
            filled += taken;
            left -= taken;
            if (filled == blocksPerCell_) {
                AddCell(number++, cell);
                cell = Cell();
                filled = 0;
            }
        }
    }
    if (filled > 0) {
        AddCell(number, cell);
    }
}

CellRun MapCells::Divided(const Cell& cell) {
    const Look most = Largest(cell.blocks);
    Counts rest = cell.blocks;
    rest[Index(most)] = 0;
    const Look next = Largest(rest);
    const std::uint64_t drawn = cell.blocks[Index(most)] + rest[Index(next)];
    const auto share =
        static_cast<unsigned>((cell.blocks[Index(most)] * kEighths + drawn / 2) / drawn);
    CellRun run{};
    run.most = most;
    if (share == kEighths) {
        run.left = run.right = most;
        run.eighths = kEighths;
    } else if (cell.begin[Index(most)] < cell.begin[Index(next)]) {
        run.left = most;
        run.right = next;
        run.eighths = share;
    } else {
        run.left = next;
        run.right = most;
        run.eighths = kEighths - share;
    }
    return run;
}

void MapCells::AddCell(std::uint64_t number, const Cell& cell) {
    CellRun run = Divided(cell);
    run.firstCell = number;
    run.cells = 1;
    run.firstBlock = number * blocksPerCell_ + 1;
    run.blocks = std::accumulate(cell.blocks.begin(), cell.blocks.end(), std::uint64_t{0});
    for (const Look small : {Look::Directory, Look::Orphan, Look::Damaged}) {
        if (cell.blocks[Index(small)] > 0 && run.left != small && run.right != small) {
            hiding_[Index(small)].push_back(number);
        }
    }
    Append(run);
}

void MapCells::Append(const CellRun& run) {
    const auto drawing = [](const CellRun& any) {
        return std::tie(any.left, any.right, any.most, any.eighths);
    };
    if (!runs_.empty() && drawing(runs_.back()) == drawing(run)) {
        ++runs_.back().cells;
        runs_.back().blocks += run.blocks;
    } else {
        runs_.push_back(run);
    }
}
