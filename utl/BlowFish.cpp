#include "TALVOutl/BlowFish.h"

#include <nettle/blowfish.h>
#include <nettle/cbc.h>

#include <array>

namespace BlowFish {

static_assert(kBlockSize == BLOWFISH_BLOCK_SIZE);

struct Context::Key {
    blowfish_ctx context{};
};

namespace {

using Vector = std::array<std::uint8_t, kBlockSize>;

Vector InitialisationVector(const blowfish_ctx& context, std::uint64_t number) {
    Vector vector{};
    for (std::size_t i = 0; i < vector.size(); ++i) {
        vector[i] = static_cast<std::uint8_t>(number >> (8 * (vector.size() - 1 - i)));
    }
    blowfish_encrypt(&context, vector.size(), vector.data(), vector.data());
    return vector;
}

// The library's chaining functions take any cipher behind one signature without its context's type.
void EncryptBlocks(const void* context, std::size_t length, std::uint8_t* to,
                   const std::uint8_t* from) {
    blowfish_encrypt(static_cast<const blowfish_ctx*>(context), length, to, from);
}

void DecryptBlocks(const void* context, std::size_t length, std::uint8_t* to,
                   const std::uint8_t* from) {
    blowfish_decrypt(static_cast<const blowfish_ctx*>(context), length, to, from);
}

} // namespace

Context::Context(const void* key, std::size_t length) {
    auto schedule = std::make_unique<Key>();
    // The answer tells a weak key; a password is the user's choice, so every key is taken.
    blowfish_set_key(&schedule->context, length, static_cast<const std::uint8_t*>(key));
    key_ = std::move(schedule);
}

Context::~Context() = default;

void Context::Encipher(void* bytes, std::size_t length, std::uint64_t number) const {
    Vector vector = InitialisationVector(key_->context, number);
    auto* const run = static_cast<std::uint8_t*>(bytes);
    cbc_encrypt(&key_->context, EncryptBlocks, kBlockSize, vector.data(), length, run, run);
}

void Context::Decipher(void* bytes, std::size_t length, std::uint64_t number) const {
    Vector vector = InitialisationVector(key_->context, number);
    auto* const run = static_cast<std::uint8_t*>(bytes);
    cbc_decrypt(&key_->context, DecryptBlocks, kBlockSize, vector.data(), length, run, run);
}

} // namespace BlowFish
