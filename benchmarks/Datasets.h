#pragma once

#include "benchmarks/Store.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

/// How much the workloads have to do.
struct Sizes {
    std::uint64_t largeStream = 256 << 20;
    std::size_t coldReads = 4096;
    std::size_t warmReads = 32768;
    std::size_t smallStreams = 20000;
    std::size_t mediumStreams = 1000;
    std::uint64_t mediumStream = 256 << 10;
    std::size_t fewEntries = 2000;
    std::size_t manyEntries = 200000;
    /// How often a work of microseconds is repeated in one sample.
    std::size_t repeats = 20000;

    /// A fraction of everything, to see whether the program works.
    static Sizes ForTrying();
};

/// Bytes of each write and read of a stream, here and with every peer.
constexpr std::size_t kPiece = 10240;
constexpr std::size_t kRandomRead = 4096;
constexpr std::size_t kSmallStream = 600;

/// What buffers are aligned to. Where one begins in a page decides how fast the system fills it,
/// and should not be left to chance.
constexpr std::size_t kPage = 4096;

/// Stores that workloads start from.
enum class Dataset {
    None,
    /// One large stream.
    Large,
    /// Many streams of kSmallStream bytes.
    Small,
    /// Streams of medium size.
    Medium,
    /// Large, in an encrypted file of this library.
    Encrypted
};

constexpr char kPassword[] = "benchmark";

const std::string& StreamName(std::size_t stream);

/// At least kPiece bytes: what stream `stream` holds from `offset`, a multiple of kPiece, on. They
/// cannot be compressed and differ from stream to stream.
const char* StreamBytes(std::size_t stream, std::uint64_t offset);

void WriteStream(Store& store, std::size_t stream, std::uint64_t size);
/// Reads a whole stream in pieces; throws when `compare` is set and the bytes are not its own.
void ReadStream(Store& store, std::size_t stream, std::uint64_t size, bool compare = false);

/// The same on a standard stream.
void WriteStream(std::ostream& out, std::size_t stream, std::uint64_t size);
void ReadStream(std::istream& in, std::uint64_t size);

/// Makes the names and the bytes of `streams` streams ready, so that no measurement pays for them.
void WarmUp(std::size_t streams);

/// Makes the store and reads it back, so that whatever is measured on it is a store that works.
void Build(Dataset dataset, const Sizes& sizes, Store& store, const std::string& path);
/// The same bytes without any store: streams one behind the other in a plain file.
void BuildPlain(Dataset dataset, const Sizes& sizes, const std::string& path);
