#include "benchmarks/PlainFile.h"
#include "benchmarks/Works.h"
#include "blockfile/BlockFormat.h"

#include <TALVOkrstream/CompoundFile.h>
#include <TALVOutl/LargePages.h>
#include <TALVOutl/MD5.h>
#include <TALVOutl/Paths.h>

#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <istream>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <streambuf>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t kBlock = BlockFormat::kBlockSize;
constexpr std::size_t kHead = BlockFormat::kHeadSize;
constexpr std::size_t kEntriesPerDirectoryBlock = BlockFormat::kSlotsPerBlock;

using Block = std::array<char, kBlock>;

struct alignas(kPage) LargePiece {
    std::array<char, std::size_t{512} * 1024> bytes;
};

void Require(bool condition) {
    if (!condition) {
        throw std::runtime_error("a bare system call failed");
    }
}

BlockFormat::BlockNumber NextOf(const Block& block) {
    return BlockFormat::NextOf(reinterpret_cast<const unsigned char*>(block.data()));
}

/// The place of a small entry's block: three follow each directory block.
std::uint64_t OffsetOfEntry(std::size_t entry) {
    return (entry + entry / kEntriesPerDirectoryBlock + 1) * kBlock;
}

using Records = std::vector<DirEntry, LargePageAllocator<DirEntry>>;

DirEntry RecordAt(const char* slot) {
    DirEntry record;
    std::memcpy(record.name, slot + BlockFormat::kNameOffset, sizeof record.name);
    std::memcpy(record.created, slot + BlockFormat::kCreatedOffset, sizeof record.created);
    std::memcpy(record.modified, slot + BlockFormat::kModifiedOffset, sizeof record.modified);
    std::memcpy(&record.firstBlock, slot + BlockFormat::kFirstBlockOffset,
                sizeof record.firstBlock);
    std::memcpy(&record.size, slot + BlockFormat::kSizeOffset, sizeof record.size);
    return record;
}

void KeepRecordsOf(const Block& block, Records& records) {
    for (std::size_t slot = 0; slot < kEntriesPerDirectoryBlock; ++slot) {
        records.push_back(RecordAt(block.data() + BlockFormat::kDirLayout2.SlotOffset(slot)));
    }
}

/// Reads a directory's blocks in chain order, keeps the records and looks at each name.
Sample ListDirectoryOf(const std::string& path) {
    Records records;
    records.reserve(boost::filesystem::file_size(path) / kBlock * kEntriesPerDirectoryBlock);
    return Measure([&] {
        PlainFile file(path, PlainFile::Mode::Read);
        Block block;
        for (auto number = BlockFormat::kFirstBlock; number != BlockFormat::kNoBlock;
             number = NextOf(block)) {
            file.ReadAt(BlockFormat::OffsetOf(number), block.data(), kBlock);
            KeepRecordsOf(block, records);
        }
        const auto bytes = std::accumulate(
            records.begin(), records.end(), std::size_t{0},
            [](std::size_t sum, const DirEntry& record) { return sum + std::strlen(record.name); });
        Require(bytes > 0);
    });
}

/// A descriptor of a file whose canonical path is known with it.
int OpenKnowingPath(const char* path) {
    const int descriptor = KrOpenCanonical(path, O_RDONLY | O_CLOEXEC);
    return descriptor >= 0 || KrGetCanonicalPath(path).empty() ? descriptor
                                                               : open(path, O_RDONLY | O_CLOEXEC);
}

/// Opens a file as a block file is opened, and reads its first block.
void OpenAsTheRulesSay(const std::string& path) {
    struct stat status {};
    const int descriptor = OpenKnowingPath(path.c_str());
    alignas(kPage) Block block;
    Require(flock(descriptor, LOCK_SH | LOCK_NB) == 0 && fstat(descriptor, &status) == 0 &&
            pread(descriptor, block.data(), kBlock, 0) == static_cast<ssize_t>(kBlock));
    close(descriptor);
}

/// Reads a whole file, by large calls, and shows each piece of it.
template <typename Visit>
void ReadWhole(const PlainFile& file, Visit visit) {
    const std::unique_ptr<LargePiece> piece(new LargePiece);
    std::uint64_t offset = 0;
    while (const std::size_t got = file.ReadSome(piece->bytes.data(), piece->bytes.size())) {
        visit(*piece, offset, got);
        offset += got;
    }
}

/// Looks at the heads of all blocks. The payloads are read with them: one call for each head takes
/// longer, and so does a call that is given a place for each head. A mapping takes less, but tells
/// of a bad sector or of a file cut short by a signal, so it is not for a library.
void PassOverPayloads(const std::string& path) {
    std::uint64_t links = 0;
    ReadWhole(PlainFile(path, PlainFile::Mode::Read),
              [&](const LargePiece& piece, std::uint64_t, std::size_t size) {
                  for (std::size_t at = 0; at < size; at += kBlock) {
                      links += BlockFormat::NextOf(
                          reinterpret_cast<const unsigned char*>(piece.bytes.data() + at));
                  }
              });
    Require(links > 0);
}

/// The least of a directory in memory by which an entry is found: its place in an index by name,
/// and its record.
class EntryTable {
public:
    explicit EntryTable(std::size_t entries) : places_(PlacesFor(entries)), records_(entries) {
        for (std::size_t entry = 0; entry < entries; ++entry) {
            places_[PlaceOf(entry)] = entry;
            records_[entry].firstBlock =
                static_cast<BlockFormat::BlockNumber>(OffsetOfEntry(entry) / kBlock + 1);
        }
    }

    /// Where the entry's block begins.
    std::uint64_t Find(std::size_t entry) const {
        return BlockFormat::OffsetOf(records_[places_[PlaceOf(entry)]].firstBlock);
    }

private:
    static std::size_t PlacesFor(std::size_t entries) {
        std::size_t places = 1;
        while (places < entries) {
            places *= 2;
        }
        return places;
    }
    // Like a hash, but no two entries share a place.
    std::size_t PlaceOf(std::size_t entry) const {
        return entry * 2654435761U & (places_.size() - 1);
    }

    std::vector<std::uint64_t, LargePageAllocator<std::uint64_t>> places_;
    Records records_;
};

/// A directory block and its three entries.
using Page = std::array<char, (1 + kEntriesPerDirectoryBlock) * kBlock>;

/// A stream whose bytes come to stand where they are handed over from.
class PlacedStream : private std::streambuf, public std::iostream {
public:
    PlacedStream(char* begin, std::size_t size) : std::iostream(this) { setp(begin, begin + size); }
};

void WriteAsStream(std::size_t stream, Page& page) {
    char* const block = page.data() + (1 + stream % kEntriesPerDirectoryBlock) * kBlock;
    const std::unique_ptr<std::iostream> out = std::make_unique<PlacedStream>(
        block + BlockFormat::kPayloadOffset, BlockFormat::kPayloadSize);
    Require(out->write(StreamBytes(stream, 0), kSmallStream).flush().good());
}

DirEntry RecordOf(std::size_t stream) {
    static constexpr char kTime[] = "Thu Jan  1 00:00:00 1970\n";
    DirEntry record{};
    record.size = kSmallStream;
    record.firstBlock = static_cast<BlockFormat::BlockNumber>(OffsetOfEntry(stream) / kBlock + 1);
    StreamName(stream).copy(record.name, DirEntry::kMaxNameLength);
    std::memcpy(record.created, kTime, sizeof kTime);
    std::memcpy(record.modified, kTime, sizeof kTime);
    return record;
}

/// Each call hands over what a stream has made, from its record on, as all of it lies in one page.
/// The first of three brings the directory block along, to which the one before is then linked.
void HandOver(std::size_t stream, const Page& page, const PlainFile& file) {
    const std::size_t slot = stream % kEntriesPerDirectoryBlock;
    const std::uint64_t at = stream / kEntriesPerDirectoryBlock * page.size();
    const std::size_t begin = slot == 0 ? 0 : BlockFormat::kDirLayout2.SlotOffset(slot);
    file.WriteAt(at + begin, page.data() + begin, (slot + 2) * kBlock - begin);
    if (slot == 0 && at > 0) {
        file.WriteAt(at - page.size(), page.data(), BlockFormat::kHeaderSize);
    }
}

/// What a record has that enters the directory's digest, in one piece.
void AddTo(MD5& digest, const DirEntry& record) {
    std::array<char, sizeof(DirEntry)> bytes;
    char* end = bytes.data();
    for (const char* const text : {record.name, record.created, record.modified}) {
        end = std::copy_n(text, std::strlen(text), end);
    }
    end = std::copy_n(reinterpret_cast<const char*>(&record.firstBlock), sizeof record.firstBlock,
                      end);
    end = std::copy_n(reinterpret_cast<const char*>(&record.size), sizeof record.size, end);
    digest.Update(bytes.data(), static_cast<std::size_t>(end - bytes.data()));
}

/// Runs `work` on the block of each entry of a file, in random order.
template <typename Work>
Sample OnEachBlock(const EntryWorks& works, Work work) {
    works.Make();
    const auto order = Shuffled(works.entries);
    const EntryTable records(works.entries);
    return Measure([&] {
        PlainFile file(works.path, PlainFile::Mode::Change);
        for (const std::size_t entry : order) {
            work(file, records.Find(entry));
        }
    });
}

} // namespace

Sample Floors::WriteSmall(const Job& job) {
    return Measure([&] {
        PlainFile file(job.path, PlainFile::Mode::Create);
        alignas(kPage) Page page{};
        Records records;
        records.reserve(job.sizes.smallStreams);
        for (std::size_t stream = 0; stream < job.sizes.smallStreams; ++stream) {
            WriteAsStream(stream, page);
            records.push_back(RecordOf(stream));
            HandOver(stream, page, file);
        }
        MD5 digest;
        for (const DirEntry& record : records) {
            AddTo(digest, record);
        }
        Require(!digest.GetDigest().empty());
    });
}

Sample Floors::ReadHeads(const Job& job) {
    return Measure([&] { PassOverPayloads(job.path); });
}

Sample Floors::ReadHeadsAndRandomly(const Job& job) {
    const auto offsets = RandomOffsets(job.sizes);
    return Measure([&] {
        PassOverPayloads(job.path);
        alignas(kPage) char piece[kRandomRead];
        PlainFile file(job.path, PlainFile::Mode::Read);
        for (std::size_t i = 0; i < job.sizes.coldReads; ++i) {
            file.ReadAt(offsets[i], piece, sizeof piece);
        }
    });
}

Sample Floors::OpenAndReadDirectory(const Job& job) {
    return Measure([&] {
        for (std::size_t i = 0; i < job.sizes.repeats; ++i) {
            OpenAsTheRulesSay(job.path);
        }
    });
}

Sample Floors::ListDirectory(const Job& job) {
    return ListDirectoryOf(job.path);
}

Sample Floors::ReadBlocks(const EntryWorks& works) {
    return OnEachBlock(works, [](PlainFile& file, std::uint64_t offset) {
        alignas(kPage) Block block;
        file.ReadAt(offset, block.data(), kBlock);
    });
}

Sample Floors::RewriteBlocks(const EntryWorks& works) {
    return OnEachBlock(works, [](PlainFile& file, std::uint64_t offset) {
        alignas(kPage) Block block;
        file.ReadAt(offset, block.data(), kBlock);
        file.WriteAt(offset, block.data(), kBlock);
    });
}

// Reads each head to follow its chain, in random order; writes the directory, which has to be there
// before the blocks that it no longer names are free; marks all blocks.
Sample Floors::MarkBlocks(const EntryWorks& works) {
    Sample sample = OnEachBlock(works, [](PlainFile& file, std::uint64_t offset) {
        char head[kHead];
        file.ReadAt(offset, head, kHead);
    });
    const Sample writing = Measure([&] {
        const PlainFile file(works.path, PlainFile::Mode::Change);
        const Block block{};
        for (std::size_t entry = 0; entry < works.entries; entry += kEntriesPerDirectoryBlock) {
            file.WriteAt(OffsetOfEntry(entry) - kBlock, block.data(), kBlock);
        }
        ReadWhole(file, [&](const LargePiece& piece, std::uint64_t offset, std::size_t size) {
            file.WriteAt(offset, piece.bytes.data(), size);
        });
    });
    sample.seconds += writing.seconds;
    sample.bytesWritten += writing.bytesWritten;
    return sample;
}

Sample Floors::ListDirectories(const EntryWorks& works) {
    works.Make();
    return ListDirectoryOf(works.path);
}
