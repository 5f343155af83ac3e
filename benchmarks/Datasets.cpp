#include "benchmarks/Datasets.h"

#include "benchmarks/PlainFile.h"

#include <TALVOkrstream/CompoundFile.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <istream>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

constexpr std::size_t kPatternSize = std::size_t{64} * 1024;

std::vector<char> MakePattern() {
    std::vector<char> pattern(kPatternSize + kPiece);
    std::mt19937 random(1);
    std::generate(pattern.begin(), pattern.end(), [&] { return static_cast<char>(random()); });
    return pattern;
}

struct Shape {
    std::size_t streams;
    std::uint64_t size;
};

Shape ShapeOf(Dataset dataset, const Sizes& sizes) {
    switch (dataset) {
    case Dataset::Small:
        return {sizes.smallStreams, kSmallStream};
    case Dataset::Medium:
        return {sizes.mediumStreams, sizes.mediumStream};
    default:
        return {1, sizes.largeStream};
    }
}

std::size_t PieceAt(std::uint64_t offset, std::uint64_t size) {
    return static_cast<std::size_t>(std::min<std::uint64_t>(kPiece, size - offset));
}

void BuildEncrypted(const Sizes& sizes, const std::string& path) {
    CompoundFile file;
    if (file.Open(path.c_str(), KrStreamE::ReadWrite) != KrStreamE::Ok ||
        file.Encrypt(kPassword) != KrStreamE::Ok) {
        throw std::runtime_error("cannot make an encrypted file");
    }
    WriteStream(*file.GetIOStream(StreamName(0).c_str(), "wb"), 0, sizes.largeStream);
}

} // namespace

Sizes Sizes::ForTrying() {
    Sizes sizes;
    sizes.largeStream = 2 << 20;
    sizes.coldReads = 64;
    sizes.warmReads = 64;
    sizes.smallStreams = 100;
    sizes.mediumStreams = 20;
    sizes.mediumStream = 32 << 10;
    sizes.fewEntries = 10;
    sizes.manyEntries = 100;
    sizes.repeats = 2;
    return sizes;
}

const std::string& StreamName(std::size_t stream) {
    static std::vector<std::string> names;
    while (names.size() <= stream) {
        char name[32];
        std::snprintf(name, sizeof name, "stream-%08zu", names.size());
        names.emplace_back(name);
    }
    return names[stream];
}

const char* StreamBytes(std::size_t stream, std::uint64_t offset) {
    static const std::vector<char> pattern = MakePattern();
    return pattern.data() + (stream * 613 + offset / kPiece * 1021) % kPatternSize;
}

void WriteStream(Store& store, std::size_t stream, std::uint64_t size) {
    const auto writer = store.Write(StreamName(stream), size);
    for (std::uint64_t offset = 0; offset < size; offset += kPiece) {
        writer->Write(StreamBytes(stream, offset), PieceAt(offset, size));
    }
    writer->Close();
}

void WriteStream(std::ostream& out, std::size_t stream, std::uint64_t size) {
    for (std::uint64_t offset = 0; offset < size; offset += kPiece) {
        out.write(StreamBytes(stream, offset), static_cast<std::streamsize>(PieceAt(offset, size)));
    }
    if (!out.flush()) {
        throw std::runtime_error("a stream could not be written");
    }
}

void ReadStream(std::istream& in, std::uint64_t size) {
    alignas(kPage) char piece[kPiece];
    for (std::uint64_t offset = 0; offset < size; offset += kPiece) {
        if (!in.read(piece, static_cast<std::streamsize>(PieceAt(offset, size)))) {
            throw std::runtime_error("a stream could not be read");
        }
    }
}

void ReadStream(Store& store, std::size_t stream, std::uint64_t size, bool compare) {
    alignas(kPage) char piece[kPiece];
    const auto reader = store.Find(StreamName(stream));
    for (std::uint64_t offset = 0; offset < size; offset += kPiece) {
        const std::size_t count = PieceAt(offset, size);
        reader->Read(piece, count);
        if (compare && std::memcmp(piece, StreamBytes(stream, offset), count) != 0) {
            throw std::runtime_error("a stream was not read as it was written");
        }
    }
}

void WarmUp(std::size_t streams) {
    StreamName(streams);
    StreamBytes(streams, 0);
}

void Build(Dataset dataset, const Sizes& sizes, Store& store, const std::string& path) {
    if (dataset == Dataset::Encrypted) {
        BuildEncrypted(sizes, path);
        return;
    }
    const Shape shape = ShapeOf(dataset, sizes);
    store.Open(path, Store::Mode::Create);
    for (std::size_t stream = 0; stream < shape.streams; ++stream) {
        WriteStream(store, stream, shape.size);
    }
    store.Close();
    store.Open(path, Store::Mode::Read);
    for (std::size_t stream = 0; stream < shape.streams; ++stream) {
        ReadStream(store, stream, shape.size, true);
    }
    store.Close();
}

void BuildPlain(Dataset dataset, const Sizes& sizes, const std::string& path) {
    const Shape shape = ShapeOf(dataset, sizes);
    PlainFile file(path, PlainFile::Mode::Create);
    for (std::size_t stream = 0; stream < shape.streams; ++stream) {
        for (std::uint64_t offset = 0; offset < shape.size; offset += kPiece) {
            file.Write(StreamBytes(stream, offset), PieceAt(offset, shape.size));
        }
    }
}
