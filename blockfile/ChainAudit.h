#pragma once

#include "blockfile/BlockFile.h"
#include "blockfile/Directory.h"

#include <cstdint>
#include <optional>
#include <unordered_set>
#include <vector>

/// What the heads of all blocks say, read in one pass when a file is opened for writing. Element n
/// of a vector is block n's; element 0 is unused.
struct HeaderScan {
    std::vector<BlockFormat::BlockNumber> next;
    /// 1 for a block that is marked used, else 0.
    std::vector<unsigned char> inUse;
    /// Data blocks whose used bytes are more than a payload has.
    std::vector<BlockFormat::BlockNumber> overfull;
    /// Data blocks that are not full, though they lead on to another one; in ascending order.
    std::vector<BlockFormat::BlockNumber> underfull;

    /// None when a block's number is not its position, its signature is not of this format, or it
    /// cannot be read.
    static std::optional<HeaderScan> Of(BlockFile& file, const Directory& directory);
};

/// What following every entry's chain over the scanned headers shows. After a crash, or in a
/// damaged file, a block of a live chain can be marked free, and chains can run into each other.
struct ChainAudit {
    /// Blocks that more than one link leads to, or whose own link leads to something that is no
    /// data block. They may be read, but never be written or freed through one entry, because
    /// another one may own what they lead to.
    std::unordered_set<BlockFormat::BlockNumber> contested;
    /// Numbers past the end of the file that a chain leads to, as in an entry that was being
    /// extended when its program died. They belong to that chain, and must not be given to another
    /// entry.
    std::unordered_set<BlockFormat::BlockNumber> promised;

    /// Blocks with all that their entry's size needs, whose link leads on into what another chain
    /// or the directory has. A writer that died before it wrote the next block leaves such a link;
    /// the chain ends here.
    std::unordered_set<BlockFormat::BlockNumber> ends;

    ChainAudit() = default;

    /// Sets the flag of every block in `scan.inUse` that belongs to the directory or is part of an
    /// entry's chain. A block marked used by mistake is only wasted; one marked free by mistake
    /// would be given to a second entry.
    ChainAudit(HeaderScan& scan, const Directory& directory);
};
