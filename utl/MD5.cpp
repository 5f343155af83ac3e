#include "TALVOutl/MD5.h"

#include <nettle/md5.h>

#include <cstdint>
#include <cstring>

static_assert(MD5::kDigestSize == MD5_DIGEST_SIZE);

struct MD5::State {
    md5_ctx context{};
    RawDigest digest{};
    bool finished = false;
};

MD5::MD5() : state_(std::make_unique<State>()) {
    md5_init(&state_->context);
}

MD5::MD5(const char* text) : MD5() {
    Update(text, std::strlen(text));
    Finalize();
}

MD5::~MD5() = default;
MD5::MD5(MD5&&) noexcept = default;
MD5& MD5::operator=(MD5&&) noexcept = default;

void MD5::Update(const void* bytes, std::size_t count) {
    if (!state_->finished) {
        md5_update(&state_->context, count, static_cast<const std::uint8_t*>(bytes));
    }
}

void MD5::Finalize() {
    if (!state_->finished) {
        md5_digest(&state_->context, state_->digest.size(), state_->digest.data());
        state_->finished = true;
    }
}

std::string MD5::GetDigest() {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : GetRawDigest()) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

const MD5::RawDigest& MD5::GetRawDigest() {
    Finalize();
    return state_->digest;
}
