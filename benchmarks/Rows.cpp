#include "benchmarks/Rows.h"

#include "benchmarks/Works.h"

#include <algorithm>
#include <stdexcept>

namespace {

std::vector<Row> MakeRows() {
    using Place = Row::Place;
    using Stores = Row::Stores;
    constexpr bool kOnStore = true;
    return {
        {"W1 memory", "create one large stream, close", "the same write() calls", 1.3,
         Place::Memory, Dataset::None, Stores::All, Works::CreateLarge, Counterparts::WriteLarge},
        {"W1 disk", "the same on a disk's file system", "the same write() calls", 1.1, Place::Disk,
         Dataset::None, Stores::All, Works::CreateLarge, Counterparts::WriteLarge},
        {"W2", "open, read the large stream whole", "the same read() calls", 1.3, Place::Disk,
         Dataset::Large, Stores::All, Works::ReadLarge, Counterparts::ReadLarge},
        {"W3 cold", "open, random reads of 4 KiB", "the same pread() calls", 5, Place::Disk,
         Dataset::Large, Stores::All, Works::ReadRandomCold, Counterparts::ReadRandomCold, false,
         Floors::ReadHeadsAndRandomly,
         "one read of the whole file for the heads of its blocks, and then the counterpart"},
        {"W3 known", "more of them in the same stream", "the same pread() calls", 1.3, Place::Disk,
         Dataset::Large, Stores::All, Works::ReadRandomKnown, Counterparts::ReadRandomKnown},
        {"W4", "create the small streams, close", "one write() for each", 2.9, Place::Disk,
         Dataset::None, Stores::All, Works::CreateSmall, Counterparts::WriteSmall, false,
         Floors::WriteSmall,
         "the writes that hand each stream and its record over when it closes, a standard stream "
         "for each, the records in memory, and their digest"},
        {"W5", "open, list, read the small streams in random order", "one pread() for each", 3.5,
         Place::Disk, Dataset::Small, Stores::All, Works::ReadSmall, Counterparts::ReadSmall},
        {"W6", "open the medium streams' store, replace one, close", "one read of the whole file",
         1.0, Place::Disk, Dataset::Medium, Stores::ThoseThatChange, Works::ReplaceOne,
         Counterparts::ReadWholeFile, kOnStore, Floors::ReadHeads,
         "the same by large calls, which shows the heads of all blocks"},
        {"W7 large", "open the large stream's store, list, close",
         "open, one pread() for each directory block, close", 3, Place::Disk, Dataset::Large,
         Stores::All, Works::ListLarge, Counterparts::ReadDirectoryOfLarge, kOnStore,
         Floors::OpenAndReadDirectory,
         "the calls that the rules about paths, kinds of files and locks ask for"},
        {"W7 small", "open the small streams' store, list, close",
         "open, one pread() for each directory block, close", 1.5, Place::Disk, Dataset::Small,
         Stores::All, Works::ListSmall, Counterparts::ReadDirectoryOfSmall, kOnStore,
         Floors::ListDirectory,
         "the counterpart, the records kept in memory and each name looked at"},
        {"W9 create", "W1 in an encrypted file", "the cipher alone", 1.25, Place::Memory,
         Dataset::None, Stores::Ours, OwnWorks::CreateEncrypted, Counterparts::Encipher},
        {"W9 read", "W2 in an encrypted file", "the cipher alone", 1.25, Place::Memory,
         Dataset::Encrypted, Stores::Ours, OwnWorks::ReadEncrypted, Counterparts::Decipher,
         kOnStore},
        {"W10 create", "create many entries", "as many in files of few", 1.3, Place::Disk,
         Dataset::None, Stores::Ours, OnManyEntries<&EntryWorks::Create>,
         OnFewEntries<&EntryWorks::Create>},
        {"W10 find", "find and read many entries", "as many in files of few", 1.3, Place::Disk,
         Dataset::None, Stores::Ours, OnManyEntries<&EntryWorks::Find>,
         OnFewEntries<&EntryWorks::Find>, false, OnManyEntries<&Floors::ReadBlocks>,
         "look up each entry's record in memory, one pread() of its block",
         OnFewEntries<&Floors::ReadBlocks>},
        {"W10 replace", "replace many entries", "as many in files of few", 1.3, Place::Disk,
         Dataset::None, Stores::Ours, OnManyEntries<&EntryWorks::Replace>,
         OnFewEntries<&EntryWorks::Replace>, false, OnManyEntries<&Floors::RewriteBlocks>,
         "look up each entry's record in memory, one pread() and one pwrite() of its block",
         OnFewEntries<&Floors::RewriteBlocks>},
        {"W10 delete", "delete many entries", "as many in files of few", 1.3, Place::Disk,
         Dataset::None, Stores::Ours, OnManyEntries<&EntryWorks::Delete>,
         OnFewEntries<&EntryWorks::Delete>, false, OnManyEntries<&Floors::MarkBlocks>,
         "look up each entry's record in memory, one pread() of its block's head; one pwrite() of "
         "each directory block; one pass over the file to mark blocks",
         OnFewEntries<&Floors::MarkBlocks>},
        {"W10 list", "open, list many entries, close", "as many in files of few", 1.3, Place::Disk,
         Dataset::None, Stores::Ours, OnManyEntries<&EntryWorks::List>,
         OnFewEntries<&EntryWorks::List>, false, OnManyEntries<&Floors::ListDirectories>,
         "one pread() of each directory block, the records kept in memory and each name looked at",
         OnFewEntries<&Floors::ListDirectories>},
        {"W11", "workspace: open, read one stream, write one, save, close",
         "copy two streams, and W6", 1.5, Place::Disk, Dataset::Medium, Stores::Ours,
         OwnWorks::ChangeThroughWorkspace, Counterparts::CopyTwoStreamsAndReplaceOne, kOnStore},
        {"W12 compact", "compact the medium streams' file", "copy the file in pieces", 2.5,
         Place::Disk, Dataset::Medium, Stores::Ours, OwnWorks::Compact, Counterparts::CopyFile,
         kOnStore},
        {"W12 save as", "save the medium streams' file as another", "copy the file in pieces", 2.5,
         Place::Disk, Dataset::Medium, Stores::Ours, OwnWorks::SaveAs, Counterparts::CopyFile,
         kOnStore},
    };
}

} // namespace

const std::vector<Row>& AllRows() {
    static const std::vector<Row> rows = MakeRows();
    return rows;
}

const Row& FindRow(const std::string& id) {
    const auto& rows = AllRows();
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.id == id; });
    if (found == rows.end()) {
        throw std::runtime_error("no row is called " + id);
    }
    return *found;
}
