#pragma once

#include <TALVOutl/LargePages.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// Finds numbers by names, without regard to the case of ASCII letters. A table with open
/// addressing: one place in memory for each look-up, and nothing allocated for each name.
class NameIndex {
public:
    NameIndex() = default;
    NameIndex(const NameIndex&) = delete;
    NameIndex& operator=(const NameIndex&) = delete;

    void Clear();
    void Reserve(std::size_t count);

    /// Enters a name that is not there yet; false when it is. The text has to stay where it is.
    bool Insert(const char* name, std::uint32_t number);
    std::optional<std::uint32_t> Find(std::string_view name) const;
    /// Takes a name out that is there.
    void Erase(std::string_view name);

private:
    struct Bucket {
        /// Null in a free bucket.
        const char* name = nullptr;
        std::uint32_t hash = 0;
        std::uint32_t number = 0;
    };

    std::uint32_t HashOf(std::string_view name) const;
    std::size_t NextTo(std::size_t bucket) const { return (bucket + 1) & (buckets_.size() - 1); }
    std::size_t BucketFor(std::string_view name, std::uint32_t hash) const;
    void Rehash(std::size_t size);

    /// As many as a power of two, at most three quarters of them taken.
    std::vector<Bucket, LargePageAllocator<Bucket>> buckets_;
    std::size_t count_ = 0;
};
