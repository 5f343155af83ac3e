#include "recovery/PayloadReader.h"

#include <algorithm>

using namespace BlockFormat;

const unsigned char* PayloadReader::Read(BlockNumber position, std::size_t count) {
    const unsigned char* const block = file_.Read(position);
    if (block == nullptr || cipher_ == nullptr) {
        return block == nullptr ? nullptr : block + kPayloadOffset;
    }
    // However many bytes were enciphered, those before `count` depend on none behind.
    std::copy_n(block + kPayloadOffset, kPayloadSize, plain_.begin());
    const BlockNumber number = table_.At(position).isDisplaced ? NumberOf(block) : position;
    cipher_->Decipher(plain_.data(), EncipheredLength(count), number);
    return plain_.data();
}

bool PayloadReader::ReadChain(const ChainPart& part,
                              const std::function<bool(std::string_view)>& sink) {
    std::uint64_t remaining = part.bytes;
    BlockNumber position = part.firstPosition;
    while (remaining > 0) {
        const BlockFacts& facts = table_.At(position);
        const std::size_t count = PayloadOf(facts, remaining);
        const unsigned char* const payload = Read(position, count);
        if (payload == nullptr || !sink({reinterpret_cast<const char*>(payload), count})) {
            return false;
        }
        remaining -= count;
        position = table_.PlaceOf(facts.next);
    }
    return true;
}
