#include "blockfile/CompoundFileServer.h"

#include <TALVOutl/ByteOrder.h>
#include <TALVOutl/MD5.h>

#include <algorithm>

using namespace BlockFormat;

namespace {

using Content = std::vector<unsigned char>;

Content PackContent(const MD5::RawDigest& digest, const UsageTable& usage) {
    Content content(kFreeListHeadSize);
    std::copy(digest.begin(), digest.end(), content.begin());
    StoreLittleEndian(content.data() + kFreeListHighestOffset, usage.Highest());
    content.insert(content.end(), usage.Flags(), usage.Flags() + usage.Highest() + 1);
    return content;
}

/// Whether the snapshot describes this directory and a file of `highest` blocks.
bool IsCurrentHead(const unsigned char* head, const MD5::RawDigest& digest, BlockNumber highest) {
    return std::equal(digest.begin(), digest.end(), head) &&
           LoadLittleEndian<std::uint32_t>(head + kFreeListHighestOffset) == highest;
}

} // namespace

// The usage flags of the stored snapshot; empty when there is none that can be read and believed.
std::vector<unsigned char> CompoundFileServer::ReadFreeList() {
    try {
        return FetchFreeList();
    } catch (const CompoundFileServerError&) {
        return {};
    }
}

std::vector<unsigned char> CompoundFileServer::FetchFreeList() {
    const std::optional<Directory::Slot> slot = Lookup(CompoundFile::kFreeListEntryName);
    const auto highest = static_cast<BlockNumber>(file_.BlockCount());
    const std::uint64_t size = FreeListContentSize(highest);
    Content content;
    DataBlock block;
    BlockNumber number = slot ? directory_.Entry(*slot).firstBlock : kNoBlock;
    while (content.size() < size) {
        const auto piece =
            static_cast<std::size_t>(std::min<std::uint64_t>(kPayloadSize, size - content.size()));
        FetchDataBlock(number, block, BlocksFor(size - content.size()));
        const bool isHead = content.empty();
        if (block.Used() < piece ||
            (isHead && !IsCurrentHead(block.Payload(), directory_.Digest(), highest))) {
            return {};
        }
        content.insert(content.end(), block.Payload(), block.Payload() + piece);
        number = block.Next();
    }
    content.erase(content.begin(), content.begin() + kFreeListHeadSize);
    return content;
}

void CompoundFileServer::WriteFreeList() {
    RequirePassword();
    std::optional<Directory::Slot> slot = Lookup(CompoundFile::kFreeListEntryName);
    const bool isNew = !slot;
    if (isNew) {
        slot = TakeSlot();
    } else {
        FreeChain(directory_.Entry(*slot).firstBlock);
    }
    Chain chain;
    do {
        chain.Append(TakeBlock());
    } while (chain.Size() * kPayloadSize <= FreeListRecordedSize(usage_.Highest()));
    if (isNew) {
        directory_.Occupy(*slot, CompoundFile::kFreeListEntryName, TimeText(), chain.First());
    }
    DirEntry& entry = directory_.Entry(*slot);
    entry.firstBlock = chain.First();
    entry.size = FreeListRecordedSize(usage_.Highest());
    directory_.MarkEntryChanged(*slot);
    WriteFreeListBlocks(chain, PackContent(directory_.Digest(), usage_));
    WriteDirectory();
    usageDirty_ = false;
}

void CompoundFileServer::WriteFreeListBlocks(const Chain& chain, const Content& content) {
    std::size_t done = 0;
    for (std::size_t i = 0; i < chain.Size(); ++i) {
        const std::size_t piece = std::min(kPayloadSize, content.size() - done);
        DataBlock block;
        block.Reset(chain[i]);
        block.SetNext(i + 1 < chain.Size() ? chain[i + 1] : kNoBlock);
        block.SetUsed(piece);
        std::copy_n(content.data() + done, piece, block.Payload());
        block.ClearUnused();
        StoreDataBlock(block);
        done += piece;
    }
}
