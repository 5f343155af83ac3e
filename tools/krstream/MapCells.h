#pragma once

#include "BlockMap.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Cells side by side that look the same. While a cell is one block, each piece of the file is one
/// run.
struct CellRun {
    std::uint64_t firstCell;
    std::uint64_t cells;
    std::uint64_t firstBlock;
    std::uint64_t blocks;
    /// The two looks that most of the blocks have, in the order in which they come first in a cell;
    /// twice the same when there is no other worth drawing.
    Look left;
    Look right;
    /// That of the two which more blocks have. Eighths are too coarse to tell.
    Look most;
    /// How much of a cell is `left`, in eighths.
    unsigned eighths;
    /// Index of the piece, while a cell is one block.
    std::size_t piece;

    bool IsMixed() const { return left != right; }
};

/// The cells of a picture. A large file has several blocks in a cell, as many for each.
class MapCells {
public:
    MapCells(const BlockMap& map, std::uint64_t maxCells);

    /// A power of two.
    std::uint64_t BlocksPerCell() const { return blocksPerCell_; }
    std::uint64_t Count() const { return count_; }
    const std::vector<CellRun>& Runs() const { return runs_; }
    /// Cells in which a piece of an entry begins, in order.
    const std::vector<std::uint64_t>& Starts() const { return starts_; }
    /// Cells whose looks do not show that they have blocks of such a look, in order.
    const std::vector<std::uint64_t>& Hiding(Look look) const { return hiding_[Index(look)]; }

private:
    /// By look.
    using Counts = std::vector<std::uint64_t>;
    struct Cell {
        Counts blocks = Counts(kLookCount);
        /// Where in the cell a look comes first.
        Counts begin = Counts(kLookCount);
    };

    void FindStarts(const BlockMap& map);
    void RunPerPiece(const BlockMap& map);
    void SumUp(const BlockMap& map);
    static CellRun Divided(const Cell& cell);
    void AddCell(std::uint64_t number, const Cell& cell);
    void Append(const CellRun& run);

    std::uint64_t blocksPerCell_ = 1;
    std::uint64_t count_;
    std::vector<CellRun> runs_;
    std::vector<std::uint64_t> starts_;
    std::vector<std::vector<std::uint64_t>> hiding_;
};
