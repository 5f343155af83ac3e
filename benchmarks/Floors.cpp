#include "benchmarks/PlainFile.h"
#include "benchmarks/Works.h"
#include "blockfile/BlockFormat.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

constexpr std::size_t kBlock = BlockFormat::kBlockSize;
constexpr std::size_t kHead = BlockFormat::kHeadSize;
constexpr std::size_t kEntriesPerDirectoryBlock = BlockFormat::kSlotsPerBlock;
constexpr std::size_t kHeadsPerCall = 512;

using Block = std::array<char, kBlock>;

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

Sample KeepDirectoryOf(const std::string& path) {
    return Measure([&] {
        PlainFile file(path, PlainFile::Mode::Read);
        std::vector<std::unique_ptr<Block>> blocks;
        for (auto number = BlockFormat::kFirstBlock; number != BlockFormat::kNoBlock;
             number = NextOf(*blocks.back())) {
            blocks.emplace_back(new Block);
            file.ReadAt(BlockFormat::OffsetOf(number), blocks.back()->data(), kBlock);
        }
    });
}

/// Opens a file as a block file is opened, and reads its first block.
void OpenAsTheRulesSay(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> canonical(realpath(path.c_str(), nullptr),
                                                                std::free);
    struct stat status {};
    Require(canonical != nullptr && stat(path.c_str(), &status) == 0);
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    Block block;
    Require(flock(descriptor, LOCK_SH | LOCK_NB) == 0 && fstat(descriptor, &status) == 0 &&
            pread(descriptor, block.data(), kBlock, 0) == static_cast<ssize_t>(kBlock));
    close(descriptor);
}

/// Reads the heads of all blocks, many by one call.
void PassOverPayloads(const std::string& path) {
    std::array<char, kHead * kHeadsPerCall> heads;
    Block rest;
    std::array<iovec, 2 * kHeadsPerCall> pieces;
    for (std::size_t i = 0; i < kHeadsPerCall; ++i) {
        pieces[2 * i] = {heads.data() + i * kHead, kHead};
        pieces[2 * i + 1] = {rest.data(), kBlock - kHead};
    }
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    Require(descriptor >= 0);
    ssize_t got = 1;
    for (off_t offset = 0; got > 0; offset += got) {
        got = preadv(descriptor, pieces.data(), static_cast<int>(pieces.size()), offset);
    }
    close(descriptor);
    Require(got == 0);
}

/// Runs `work` on the block of each entry of a file, in random order.
template <typename Work>
Sample OnEachBlock(const EntryWorks& works, Work work) {
    works.Make();
    const auto order = Shuffled(works.entries);
    return Measure([&] {
        PlainFile file(works.path, PlainFile::Mode::Change);
        for (const std::size_t entry : order) {
            work(file, OffsetOfEntry(entry));
        }
    });
}

} // namespace

// A directory block, then its three entries; each write hands over what its stream has made, in one
// call as all of it lies in one page. The first of the three links the directory block before.
Sample Floors::WriteSmall(const Job& job) {
    const std::array<char, 4 * kBlock> page{};
    return Measure([&] {
        PlainFile file(job.path, PlainFile::Mode::Create);
        for (std::size_t stream = 0; stream < job.sizes.smallStreams; ++stream) {
            const std::size_t slot = stream % kEntriesPerDirectoryBlock;
            const std::uint64_t at = stream / kEntriesPerDirectoryBlock * page.size();
            file.WriteAt(at, page.data(), (slot + 2) * kBlock);
            if (slot == 0 && at > 0) {
                file.WriteAt(at - page.size(), page.data(), kBlock);
            }
        }
    });
}

Sample Floors::ReadHeads(const Job& job) {
    return Measure([&] { PassOverPayloads(job.path); });
}

Sample Floors::ReadHeadsAndRandomly(const Job& job) {
    const auto offsets = RandomOffsets(job.sizes);
    return Measure([&] {
        PassOverPayloads(job.path);
        char piece[kRandomRead];
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

Sample Floors::KeepDirectory(const Job& job) {
    return KeepDirectoryOf(job.path);
}

Sample Floors::ReadBlocks(const EntryWorks& works) {
    return OnEachBlock(works, [](PlainFile& file, std::uint64_t offset) {
        Block block;
        file.ReadAt(offset, block.data(), kBlock);
    });
}

Sample Floors::RewriteBlocks(const EntryWorks& works) {
    return OnEachBlock(works, [](PlainFile& file, std::uint64_t offset) {
        Block block;
        file.ReadAt(offset, block.data(), kBlock);
        file.WriteAt(offset, block.data(), kBlock);
    });
}

// Reads each head to follow its chain, in random order, and then marks each block, in the file's.
Sample Floors::MarkBlocks(const EntryWorks& works) {
    Sample sample = OnEachBlock(works, [](PlainFile& file, std::uint64_t offset) {
        char head[kHead];
        file.ReadAt(offset, head, kHead);
    });
    const Sample marking = Measure([&] {
        PlainFile file(works.path, PlainFile::Mode::Change);
        Block block;
        for (std::size_t entry = 0; entry < works.entries; ++entry) {
            file.ReadAt(OffsetOfEntry(entry), block.data(), kBlock);
            file.WriteAt(OffsetOfEntry(entry), block.data(), kBlock);
        }
    });
    sample.seconds += marking.seconds;
    sample.bytesWritten += marking.bytesWritten;
    return sample;
}

Sample Floors::KeepDirectories(const EntryWorks& works) {
    works.Make();
    return KeepDirectoryOf(works.path);
}
