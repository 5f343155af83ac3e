#pragma once

#include "blockfile/BlockFormat.h"
#include "blockfile/ByteStore.h"

#include <array>
#include <iosfwd>
#include <memory>
#include <optional>

/// The bytes of a caller's stream, reached through its buffer; a stream in a failed state fails
/// every operation.
class StreamStore final : public ByteStore {
public:
    enum class Ownership { Shared, Weak };

    StreamStore(const std::shared_ptr<std::iostream>& stream, Ownership ownership);

    /// The stream's length, found by seeking to its end and back; none when it cannot be had.
    std::optional<std::uint64_t> MeasureLength();

    std::size_t Read(std::uint64_t offset, unsigned char* bytes, std::size_t count) override;
    Bytes View(std::uint64_t offset, std::size_t needed, std::size_t wanted) override;
    bool Write(std::uint64_t offset, const unsigned char* bytes, std::size_t count) override;
    /// Each write is given to the stream at once.
    bool KeepOrder(std::uint64_t) override { return true; }
    bool Flush() override;

private:
    const std::weak_ptr<std::iostream> stream_;
    const std::shared_ptr<std::iostream> owned_;
    std::array<unsigned char, BlockFormat::kBlockSize> view_;
};
