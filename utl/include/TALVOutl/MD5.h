#pragma once

#include <TALVOutl/Export.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>

/// The MD5 digest (RFC 1321) of a run of bytes, fed in one or more pieces.
///
/// Update takes bytes until the digest is finished; Finalize, or the first request for the digest,
/// finishes it, and later Updates are ignored. Objects are movable, not copyable; one thread at a
/// time. MD5 identifies content and names here; it is no protection against deliberate collisions.
class TALVOUTL_EXPORT MD5 {
public:
    /// Bytes in a raw digest (RFC 1321).
    static constexpr std::size_t kDigestSize = 16;
    /// A digest as bytes.
    using RawDigest = std::array<unsigned char, kDigestSize>;

    /// A digest of no bytes so far. Throws std::bad_alloc.
    MD5();
    /// The finished digest of a C string's bytes, its terminating NUL left out; not for null.
    explicit MD5(const char* text);
    ~MD5();
    /// The other may only be assigned to or destroyed from then on.
    MD5(MD5&&) noexcept;
    /// As moving on construction.
    MD5& operator=(MD5&&) noexcept;
    MD5(const MD5&) = delete;
    MD5& operator=(const MD5&) = delete;

    /// Feeds `count` bytes.
    void Update(const void* bytes, std::size_t count);
    /// Finishes the digest; a second call does nothing.
    void Finalize();
    /// The digest as 32 lower-case hexadecimal digits.
    std::string GetDigest();
    /// The digest's 16 bytes.
    const RawDigest& GetRawDigest();

private:
    struct State;
    std::unique_ptr<State> state_;
};
