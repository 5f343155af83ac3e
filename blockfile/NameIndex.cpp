#include "blockfile/NameIndex.h"

#include <TALVOutl/Strings.h>

#include <algorithm>

namespace {

constexpr std::size_t kFewestBuckets = 16;

bool IsFull(std::size_t count, std::size_t buckets) {
    return count * 4 > buckets * 3;
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

// FNV-1a, one multiplication a byte and no copy of the folded name. It begins with a number of the
// process's own, so that no file can be made whose names all share one place.
std::uint32_t NameIndex::HashOf(std::string_view name) const {
    std::uint64_t hash = 14695981039346656037U ^ reinterpret_cast<std::uintptr_t>(this);
    for (const char c : name) {
        hash = (hash ^ static_cast<unsigned char>(KrStdString::FoldClassic(c))) * 1099511628211U;
    }
    return static_cast<std::uint32_t>(hash ^ hash >> 32);
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
