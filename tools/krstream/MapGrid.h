#pragma once

#include <cstdint>
#include <string>

/// Where the cells of a picture are: rows of squares, in whole pixels.
class MapGrid {
public:
    /// Fewer cells are larger ones.
    MapGrid(std::uint64_t cells, int left, int top);

    int Cell() const { return cell_; }
    std::uint64_t PerRow() const { return perRow_; }
    std::uint64_t Rows() const { return (cells_ + perRow_ - 1) / perRow_; }
    int Left() const { return left_; }
    int Top() const { return top_; }
    int Height() const { return static_cast<int>(Rows()) * cell_; }
    int X(std::uint64_t cell) const { return left_ + static_cast<int>(cell % perRow_) * cell_; }
    int Y(std::uint64_t cell) const { return top_ + static_cast<int>(cell / perRow_) * cell_; }

    /// An SVG path around `count` cells from `first` on: one rectangle a row, full rows together.
    std::string Area(std::uint64_t first, std::uint64_t count) const;

private:
    const std::uint64_t cells_;
    const std::uint64_t perRow_;
    const int cell_;
    const int left_;
    const int top_;
};

/// An SVG path of a rectangle.
std::string RectanglePath(int x, int y, int width, int height);
