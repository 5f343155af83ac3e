#pragma once

#include "recovery/BlockTable.h"
#include "recovery/ChainPlan.h"

#include <TALVOutl/BlowFish.h>

#include <array>
#include <functional>
#include <memory>
#include <string_view>

/// Payloads of blocks, deciphered where the file is enciphered.
class PayloadReader {
public:
    using BlockNumber = BlockFormat::BlockNumber;

    PayloadReader(SourceFile& file, const BlockTable& table) : file_(file), table_(table) {}

    void SetCipher(std::shared_ptr<const BlowFish::Context> cipher) { cipher_ = std::move(cipher); }

    /// The first `count` payload bytes of the block at a position, until the next call; null when
    /// they cannot be read.
    const unsigned char* Read(BlockNumber position, std::size_t count);

    /// Passes a chain's bytes to `sink`, which answers whether it goes on. False when a block that
    /// could be read before cannot be read any more, or the sink ended it.
    bool ReadChain(const ChainPart& part, const std::function<bool(std::string_view)>& sink);

private:
    SourceFile& file_;
    const BlockTable& table_;
    std::shared_ptr<const BlowFish::Context> cipher_;
    std::array<unsigned char, BlockFormat::kPayloadSize> plain_{};
};
