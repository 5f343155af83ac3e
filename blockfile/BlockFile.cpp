#include "blockfile/BlockFile.h"

#include <array>

using namespace BlockFormat;

namespace {

using Image = std::array<unsigned char, kBlockSize>;

/// A stand-in for block `number`, which will be written later. It carries the number before its
/// own, so that one that stays is recognised as a hole.
Image PaddingBlock(BlockNumber number) {
    Image block{};
    PackHeader({number - 1, 0, kSignature, kNoBlock}, block.data());
    return block;
}

} // namespace

void BlockFile::Open(std::unique_ptr<ByteStore> bytes, std::uint64_t length) {
    bytes_ = std::move(bytes);
    length_ = length;
}

void BlockFile::Close() {
    bytes_.reset();
    length_ = 0;
}

bool BlockFile::Write(BlockNumber number, const unsigned char* block) {
    while (BlockCount() + 1 < number) {
        if (!Append(PaddingBlock(static_cast<BlockNumber>(BlockCount() + 1)).data())) {
            return false;
        }
    }
    return number > BlockCount() ? Append(block)
                                 : bytes_->Write(OffsetOf(number), block, kBlockSize);
}

bool BlockFile::Overwrite(BlockNumber number, std::size_t offset, const unsigned char* bytes,
                          std::size_t count) {
    const std::uint64_t at = OffsetOf(number) + offset;
    return bytes_->KeepOrder(at) && bytes_->Write(at, bytes, count);
}

bool BlockFile::Flush() {
    return bytes_->Flush();
}

std::string BlockFile::Content() {
    std::string content;
    std::array<unsigned char, 10240> piece;
    std::size_t got = 0;
    do {
        got = bytes_->Read(content.size(), piece.data(), piece.size());
        content.append(reinterpret_cast<const char*>(piece.data()), got);
    } while (got == piece.size());
    return content;
}

bool BlockFile::Append(const unsigned char* block) {
    if (!bytes_->Write(length_, block, kBlockSize)) {
        return false;
    }
    length_ += kBlockSize;
    return true;
}
