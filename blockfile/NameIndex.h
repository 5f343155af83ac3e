#pragma once

#include <TALVOutl/LargePages.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// Finds numbers by the names that they stand for, without regard to the case of ASCII letters. A
/// table with open addressing: one place in memory for each look-up, and nothing allocated for each
/// name. The names are elsewhere, and are looked at only to tell equal ones.
class NameIndex {
public:
    class Names {
    public:
        virtual ~Names() = default;
        virtual const char* NameOf(std::uint32_t number) const = 0;
    };

    explicit NameIndex(const Names& names) : names_(names) {}
    NameIndex(const NameIndex&) = delete;
    NameIndex& operator=(const NameIndex&) = delete;

    void Clear();
    void Reserve(std::size_t count);

    /// Enters a number, less than 0xFFFFFFFF, under its name; false when the name is there.
    bool Insert(std::uint32_t number);
    std::optional<std::uint32_t> Find(std::string_view name) const;
    /// Takes a name out that is there.
    void Erase(std::string_view name);

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    /// Small, for in a large table each of them is a miss of the processor's caches.
    struct Bucket {
        std::uint32_t hash = 0;
        std::uint32_t number = kNone;

        bool IsFree() const { return number == kNone; }
    };

    std::uint32_t HashOf(std::string_view name) const;
    std::size_t NextTo(std::size_t bucket) const { return (bucket + 1) & (buckets_.size() - 1); }
    std::size_t BucketFor(std::string_view name, std::uint32_t hash) const;
    void Rehash(std::size_t size);

    const Names& names_;
    /// As many as a power of two, at most three quarters of them taken.
    std::vector<Bucket, LargePageAllocator<Bucket>> buckets_;
    std::size_t count_ = 0;
};
