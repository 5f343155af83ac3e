#include "MapText.h"

#include "Amounts.h"
#include "Names.h"
#include "OpenFile.h"

#include <cstdio>

namespace {

std::string SizeLine(const BlockMap& map, bool encrypted) {
    const std::uint64_t free = map.Of(Look::Free).blocks;
    return ReadableSize(map.BlockCount() * kBlockSize) + (encrypted ? ", encrypted" : "") + ", " +
           Counted(map.BlockCount(), "block") + ": " + std::to_string(map.Entries().blocks) +
           " of entries, " + std::to_string(map.Of(Look::Directory).blocks) +
           " of the directory, " + std::to_string(map.Of(Look::FreeList).blocks) +
           " of the record of free blocks, " + std::to_string(free) + " free (" +
           std::to_string(free * 100 / map.BlockCount()) + "%)";
}

std::string EntriesLine(const BlockMap& map) {
    const BlockMap::Group all = map.Entries();
    if (all.entries == 0) {
        return "no entries";
    }
    char each[32];
    std::snprintf(each, sizeof each, "%.1f",
                  static_cast<double>(all.pieces) / static_cast<double>(all.entries));
    return Counted(all.entries, "entry", "entries") + " in " + Counted(all.pieces, "piece") +
           ", on average " + each +
           " each; in one piece: " + std::to_string(map.EntriesInOnePiece());
}

std::string BlocksText(std::uint64_t first, std::uint64_t count) {
    return count == 1
               ? "block " + std::to_string(first)
               : "blocks " + std::to_string(first) + " to " + std::to_string(first + count - 1);
}

std::string NameOf(Look look, const BlockMap& map) {
    return LegendName(map.Of(look));
}

} // namespace

std::vector<std::string> SummaryLines(const BlockMap& map, bool encrypted) {
    if (map.BlockCount() == 0) {
        return {"an empty file: it has no blocks yet"};
    }
    return {SizeLine(map, encrypted), EntriesLine(map)};
}

std::string DamageLine(const BlockMap& map) {
    const std::uint64_t damaged = map.Of(Look::Damaged).blocks;
    const std::uint64_t orphans = map.Of(Look::Orphan).blocks;
    if (damaged + orphans + map.DamageFindings() == 0) {
        return "";
    }
    return Counted(map.DamageFindings(), "finding") + " of damage, in " +
           Counted(damaged, "block") + "; " + std::to_string(orphans) +
           " in use but part of nothing; 'krstream check' tells more";
}

std::string LegendName(const BlockMap::Group& group) {
    return group.look == Look::OtherEntry ? Counted(group.entries, "other entry", "other entries")
                                          : Printable(group.name);
}

std::string RunText(const CellRun& run, const BlockMap& map, const MapCells& cells) {
    const std::string blocks = BlocksText(run.firstBlock, run.blocks);
    if (run.IsMixed()) {
        const Look less = run.most == run.left ? run.right : run.left;
        return blocks + ": mostly " + NameOf(run.most, map) + ", then " + NameOf(less, map);
    }
    if (cells.BlocksPerCell() > 1) {
        return blocks + ": " + NameOf(run.left, map);
    }
    const Piece& piece = map.Pieces()[run.piece];
    const std::string name = Printable(map.NameOf(piece)) + ", ";
    return IsOfEntry(piece.look) ? name + "piece " + std::to_string(piece.number) + " of " +
                                       std::to_string(map.PiecesOf(piece)) + ": " + blocks
                                 : name + blocks;
}
