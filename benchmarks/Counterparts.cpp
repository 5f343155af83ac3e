#include "benchmarks/Contenders.h"
#include "benchmarks/EntryWorks.h"
#include "benchmarks/PlainFile.h"
#include "benchmarks/Works.h"
#include "blockfile/BlockFormat.h"

#include <TALVOutl/BlowFish.h>

#include <algorithm>
#include <cstring>

namespace {

Sample ReadAt(const std::string& path, const std::uint64_t* first, const std::uint64_t* last) {
    return Measure([&] {
        alignas(kPage) char piece[kRandomRead];
        PlainFile file(path, PlainFile::Mode::Read);
        std::for_each(first, last,
                      [&](std::uint64_t offset) { file.ReadAt(offset, piece, sizeof piece); });
    });
}

Sample ReadDirectory(const std::string& path, std::size_t repeats) {
    return Measure([&] {
        alignas(kPage) unsigned char block[BlockFormat::kBlockSize];
        for (std::size_t i = 0; i < repeats; ++i) {
            PlainFile file(path, PlainFile::Mode::Read);
            for (auto number = BlockFormat::kFirstBlock; number != BlockFormat::kNoBlock;
                 number = BlockFormat::NextOf(block)) {
                file.ReadAt(BlockFormat::OffsetOf(number), reinterpret_cast<char*>(block),
                            sizeof block);
            }
        }
    });
}

/// Runs `crypt` on as many payloads as the large stream fills.
template <typename Crypt>
Sample OnEachPayload(const Job& job, Crypt crypt) {
    const BlowFish::Context cipher(kPassword, std::strlen(kPassword));
    constexpr std::size_t kPayload = BlockFormat::kPayloadSize;
    std::vector<char> payload(StreamBytes(0, 0),
                              StreamBytes(0, 0) + BlockFormat::EncipheredLength(kPayload));
    return Measure([&] {
        for (std::uint64_t number = 0; number < job.sizes.largeStream / kPayload; ++number) {
            crypt(cipher, payload, number);
        }
    });
}

void Copy(const std::string& from, const std::string& to, std::uint64_t most) {
    alignas(kPage) char piece[kPiece];
    PlainFile source(from, PlainFile::Mode::Read);
    PlainFile target(to, PlainFile::Mode::Create);
    std::uint64_t done = 0;
    for (std::size_t got = 1; got > 0 && done < most; done += got) {
        got = source.ReadSome(piece, kPiece);
        target.Write(piece, got);
    }
}

} // namespace

Sample Counterparts::WriteLarge(const Job& job) {
    return Measure([&] {
        PlainFile file(job.path, PlainFile::Mode::Create);
        for (std::uint64_t done = 0; done < job.sizes.largeStream; done += kPiece) {
            file.Write(StreamBytes(0, done), static_cast<std::size_t>(std::min<std::uint64_t>(
                                                 kPiece, job.sizes.largeStream - done)));
        }
    });
}

Sample Counterparts::ReadLarge(const Job& job) {
    return Measure([&] {
        alignas(kPage) char piece[kPiece];
        PlainFile file(job.path, PlainFile::Mode::Read);
        for (std::size_t got = kPiece; got == kPiece;) {
            got = file.ReadSome(piece, kPiece);
        }
    });
}

Sample Counterparts::ReadRandomCold(const Job& job) {
    const auto offsets = RandomOffsets(job.sizes);
    return ReadAt(job.path, offsets.data(), offsets.data() + job.sizes.coldReads);
}

Sample Counterparts::ReadRandomKnown(const Job& job) {
    const auto offsets = RandomOffsets(job.sizes);
    return ReadAt(job.path, offsets.data() + job.sizes.coldReads, offsets.data() + offsets.size());
}

Sample Counterparts::WriteSmall(const Job& job) {
    return Measure([&] {
        PlainFile file(job.path, PlainFile::Mode::Create);
        for (std::size_t stream = 0; stream < job.sizes.smallStreams; ++stream) {
            file.Write(StreamBytes(stream, 0), kSmallStream);
        }
    });
}

Sample Counterparts::ReadSmall(const Job& job) {
    const auto order = Shuffled(job.sizes.smallStreams);
    return Measure([&] {
        alignas(kPage) char bytes[kSmallStream];
        PlainFile file(job.path, PlainFile::Mode::Read);
        for (const std::size_t stream : order) {
            file.ReadAt(stream * kSmallStream, bytes, sizeof bytes);
        }
    });
}

Sample Counterparts::ReadWholeFile(const Job& job) {
    return Measure([&] {
        alignas(kPage) char piece[kPiece];
        PlainFile file(job.path, PlainFile::Mode::Read);
        while (file.ReadSome(piece, kPiece) > 0) {
        }
    });
}

Sample Counterparts::ReadDirectoryOfLarge(const Job& job) {
    return ReadDirectory(job.path, job.sizes.repeats);
}

Sample Counterparts::ReadDirectoryOfSmall(const Job& job) {
    return ReadDirectory(job.path, 1);
}

Sample Counterparts::Encipher(const Job& job) {
    return OnEachPayload(
        job, [](const BlowFish::Context& cipher, std::vector<char>& payload, std::uint64_t number) {
            cipher.Encipher(payload.data(), payload.size(), number);
        });
}

Sample Counterparts::Decipher(const Job& job) {
    return OnEachPayload(
        job, [](const BlowFish::Context& cipher, std::vector<char>& payload, std::uint64_t number) {
            cipher.Decipher(payload.data(), payload.size(), number);
        });
}

Sample Counterparts::CopyTwoStreamsAndReplaceOne(const Job& job) {
    const Sample replace = Works::ReplaceOne(job, KrstreamContender());
    Sample sample = Measure([&] {
        Copy(job.path, job.scratch, job.sizes.mediumStream);
        Copy(job.path, job.scratch, job.sizes.mediumStream);
    });
    sample.seconds += replace.seconds;
    sample.bytesWritten += replace.bytesWritten;
    return sample;
}

Sample Counterparts::CopyFile(const Job& job) {
    return Measure([&] { Copy(job.path, job.scratch, ~std::uint64_t{0}); });
}
