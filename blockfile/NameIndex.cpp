#include "blockfile/NameIndex.h"

#include <TALVOutl/Strings.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t kFewestBuckets = 16;

bool IsFull(std::size_t count, std::size_t buckets) {
    return count * 4 > buckets * 3;
}

std::uint64_t WordAt(const char* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// KrStdString::FoldClassic for each byte of a word.
std::uint64_t FoldClassic(std::uint64_t word) {
    constexpr std::uint64_t kEach = 0x0101010101010101U;
    constexpr std::uint64_t kTopBits = kEach * 0x80;
    // No sum of a byte without its top bit runs over into the next.
    const std::uint64_t low = word & ~kTopBits;
    const std::uint64_t isFromA = low + kEach * (0x80 - 'A');
    const std::uint64_t isPastZ = low + kEach * (0x80 - 'Z' - 1);
    return word | (isFromA & ~isPastZ & ~word & kTopBits) >> 2;
}

/// Lets each bit act on all of them. The halves of a product are needed: of its low half alone,
/// a high bit reaches only the bits above it, and names could be made to meet.
std::uint64_t Mix(std::uint64_t bits) {
    __extension__ using Product = unsigned __int128;
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15; // 2^64 divided by the golden ratio
    const Product product = static_cast<Product>(bits) * kFactor;
    return static_cast<std::uint64_t>(product >> 64) ^ static_cast<std::uint64_t>(product);
}

} // namespace

void NameIndex::Clear() {
    buckets_ = {};
    count_ = 0;
}

void NameIndex::Reserve(std::size_t count) {
    std::size_t size = std::max(buckets_.size(), kFewestBuckets);
    while (IsFull(count, size)) {
        size *= 2;
    }
    if (size > buckets_.size()) {
        Rehash(size);
    }
}

bool NameIndex::Insert(std::uint32_t number) {
    Reserve(count_ + 1);
    const std::string_view name = names_.NameOf(number);
    const std::uint32_t hash = HashOf(name);
    Bucket& bucket = buckets_[BucketFor(name, hash)];
    if (!bucket.IsFree()) {
        return false;
    }
    bucket = {hash, number};
    ++count_;
    return true;
}

std::optional<std::uint32_t> NameIndex::Find(std::string_view name) const {
    if (count_ == 0) {
        return std::nullopt;
    }
    const Bucket& bucket = buckets_[BucketFor(name, HashOf(name))];
    return bucket.IsFree() ? std::nullopt : std::optional<std::uint32_t>(bucket.number);
}

void NameIndex::Erase(std::string_view name) {
    std::size_t hole = BucketFor(name, HashOf(name));
    buckets_[hole] = {};
    --count_;
    // What stands behind moves up, unless that would bring it before its own place.
    for (std::size_t at = NextTo(hole); !buckets_[at].IsFree(); at = NextTo(at)) {
        const std::size_t mask = buckets_.size() - 1;
        const std::size_t fromHome = (at - buckets_[at].hash) & mask;
        if (fromHome >= ((at - hole) & mask)) {
            buckets_[hole] = buckets_[at];
            buckets_[at] = {};
            hole = at;
        }
    }
}

// It begins with a number of the process's own, so that no file can be made whose names all share
// one place.
std::uint32_t NameIndex::HashOf(std::string_view name) const {
    std::uint64_t hash = Mix(reinterpret_cast<std::uintptr_t>(this)) ^ name.size();
    std::uint64_t lastWord = 0;
    if (name.size() < sizeof lastWord) {
        std::memcpy(&lastWord, name.data(), name.size());
    } else {
        // It may begin within the word before.
        const char* const last = name.data() + name.size() - sizeof lastWord;
        for (const char* at = name.data(); at < last; at += sizeof lastWord) {
            hash = Mix(hash ^ FoldClassic(WordAt(at)));
        }
        lastWord = WordAt(last);
    }
    return static_cast<std::uint32_t>(Mix(hash ^ FoldClassic(lastWord)));
}

// The bucket that has the name, or the free one where it would go.
std::size_t NameIndex::BucketFor(std::string_view name, std::uint32_t hash) const {
    std::size_t at = hash & (buckets_.size() - 1);
    while (!buckets_[at].IsFree() &&
           (buckets_[at].hash != hash ||
            !KrStdString::EqualClassic(names_.NameOf(buckets_[at].number), name))) {
        at = NextTo(at);
    }
    return at;
}

// No name is looked at: they lie far apart in memory, and all of them differ.
void NameIndex::Rehash(std::size_t size) {
    decltype(buckets_) old(size);
    old.swap(buckets_);
    for (const Bucket& bucket : old) {
        if (!bucket.IsFree()) {
            std::size_t at = bucket.hash & (size - 1);
            while (!buckets_[at].IsFree()) {
                at = NextTo(at);
            }
            buckets_[at] = bucket;
        }
    }
}
