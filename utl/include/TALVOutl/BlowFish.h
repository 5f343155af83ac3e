#pragma once

#include <TALVOutl/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace BlowFish {

/// The cipher's block size in bytes; every enciphered length is a multiple of it.
constexpr std::size_t kBlockSize = 8;

/// The Blowfish cipher under one key, in CBC mode.
///
/// Halves of a cipher block are big-endian, as in the published cipher. Each run of bytes is
/// chained from an initialisation vector of its own: its number as a 64-bit big-endian integer,
/// enciphered once under the same key, so that equal bytes in different runs differ when
/// enciphered. Deciphering needs the number that the run was enciphered with. Const operations may
/// run on several threads at once.
class TALVOUTL_EXPORT Context {
public:
    /// Keys the cipher with `length` bytes, at least 1; the published key schedule uses the
    /// first 72. Costs about as much as enciphering 4 KiB. Throws std::bad_alloc.
    Context(const void* key, std::size_t length);
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    /// Enciphers `length` bytes in place as run `number`; `length` is a multiple of kBlockSize, 0
    /// included.
    void Encipher(void* bytes, std::size_t length, std::uint64_t number) const;
    /// The inverse of Encipher.
    void Decipher(void* bytes, std::size_t length, std::uint64_t number) const;

private:
    struct Key;
    std::unique_ptr<const Key> key_;
};

} // namespace BlowFish
