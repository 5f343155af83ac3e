#include "blockfile/BlockHeads.h"
#include "blockfile/CompoundFileServer.h"
#include "blockfile/EngineGuard.h"

#include <algorithm>
#include <cstring>

using namespace BlockFormat;

KrStreamE::Status CompoundFileServer::ReadDataBlock(BlockNumber number, DataBlock& block,
                                                    std::size_t wanted) {
    return Guard([&] { FetchDataBlock(number, block, wanted); });
}

std::size_t CompoundFileServer::ReadPayload(Chain& chain, std::size_t index, std::size_t offset,
                                            char* bytes, std::size_t count) {
    std::size_t done = 0;
    Guard([&] {
        BlockFile::Reading reading(file_);
        DataBlock deciphered;
        const bool isEncrypted = IsEncrypted();
        for (bool isLast = false; done < count && !isLast; ++index, offset = 0) {
            const BlockNumber number = chain[index];
            const std::size_t wanted = ExtentOf(offset + count - done);
            const std::size_t needed = isEncrypted ? kBlockSize : std::min(wanted, kBlockSize);
            const unsigned char* block = ViewBlock(reading, number, needed, wanted);
            if (isEncrypted) {
                std::memcpy(deciphered.Image(), block, kBlockSize);
                Decipher(deciphered);
                block = deciphered.Image();
            }
            const BlockNumber next = NextOf(block);
            isLast = next == kNoBlock || IsUnwritten(next);
            const std::size_t held = isLast ? UsedOf(block) : kPayloadSize;
            const std::size_t piece = std::min(count - done, held - std::min(held, offset));
            std::memcpy(bytes + done, block + kPayloadOffset + offset, piece);
            done += piece;
            if (!isLast && offset + piece == kPayloadSize && index + 1 == chain.Size()) {
                AppendLink(chain, next);
            }
        }
    });
    return done;
}

KrStreamE::Status CompoundFileServer::ExtendChain(Chain& chain, std::size_t count,
                                                  const DataBlock* last) {
    return Guard([&] {
        if (chain.Size() >= count) {
            return;
        }
        BlockHeads heads(file_);
        while (chain.Size() < count) {
            const BlockNumber next = last != nullptr ? last->Next() : ReadLink(heads, chain.Last());
            if (next == kNoBlock || IsUnwritten(next)) {
                return;
            }
            AppendLink(chain, next);
            last = nullptr;
        }
    });
}

KrStreamE::Status CompoundFileServer::WriteDataBlock(const DataBlock& block) {
    return Guard([&] { StoreDataBlock(block); });
}

KrStreamE::Status CompoundFileServer::AllocateBlock(DataBlock& block) {
    return Guard([&] {
        if (readOnly_) {
            throw CompoundFileServerError{KrStreamE::Failed};
        }
        block.Reset(TakeBlock());
        unwritten_.push_back(block.Number());
        if (file_.Contains(block.Number())) {
            stale_.push_back(block.Number());
        }
    });
}

// Whether a data block can stand there at all.
inline void CompoundFileServer::CheckPlace(BlockNumber number) const {
    if (number == kNoBlock || directory_.HoldsBlock(number)) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    if (!file_.Contains(number)) {
        throw CompoundFileServerError{KrStreamE::BeyondEnd};
    }
}

const unsigned char* CompoundFileServer::ViewBlock(BlockFile::Reading& reading, BlockNumber number,
                                                   std::size_t needed, std::size_t wanted) const {
    CheckPlace(number);
    const ByteStore::Bytes block = reading.View(number, needed, wanted);
    if (block.count < needed || !IsSoundDataBlock(block.first, number)) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    return block.first;
}

inline BlockNumber CompoundFileServer::ReadLink(BlockHeads& heads, BlockNumber number) const {
    CheckPlace(number);
    const unsigned char* const head = heads.Of(number);
    if (head == nullptr || !IsSoundDataBlock(head, number)) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    return EndsAt(number) ? kNoBlock : NextOf(head);
}

// A chain longer than the file has blocks runs in a circle.
inline void CompoundFileServer::AppendLink(Chain& chain, BlockNumber next) const {
    if (chain.Size() >= std::max<std::uint64_t>(file_.BlockCount(), usage_.Highest())) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    chain.Append(next);
}

void CompoundFileServer::FetchBlock(BlockNumber number, DataBlock& block, std::size_t wanted) {
    BlockFile::Reading reading(file_);
    std::memcpy(block.Image(), ViewBlock(reading, number, kBlockSize, wanted * kBlockSize),
                kBlockSize);
}

void CompoundFileServer::FetchDataBlock(BlockNumber number, DataBlock& block, std::size_t wanted) {
    FetchBlock(number, block, wanted);
    // A crash can leave the mark of a block that is part of a chain at free; written back like
    // that, the block would be given to somebody else.
    block.SetInUse(true);
    if (EndsAt(number)) {
        block.SetNext(kNoBlock);
    }
    if (IsEncrypted()) {
        Decipher(block);
    }
}

void CompoundFileServer::Decipher(DataBlock& block) const {
    RequirePassword();
    cipher_->Decipher(block.Payload(), EncipheredLength(block.Used()), block.Number());
}

void CompoundFileServer::StoreDataBlock(const DataBlock& block) {
    const BlockNumber number = block.Number();
    if (!MayWrite(number)) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    if (IsEncrypted()) {
        RequirePassword();
        DataBlock enciphered = block;
        cipher_->Encipher(enciphered.Payload(), EncipheredLength(block.Used()), number);
        StoreImage(number, block.IsInUse(), enciphered.Image());
    } else {
        StoreImage(number, block.IsInUse(), block.Image());
    }
    audit_.ends.erase(number);
    ForgetUnwritten(number);
}

void CompoundFileServer::StoreImage(BlockNumber number, bool inUse, const unsigned char* image) {
    if (readOnly_) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    usageDirty_ = true;
    usage_.Set(number, inUse);
    const std::uint64_t oldCount = file_.BlockCount();
    if (!file_.Write(number, image)) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    // The padding in between stands for blocks whose streams have not written them yet. Should they
    // never come to it, padding left behind would keep the file from being opened for writing.
    for (std::uint64_t gap = oldCount + 1; gap < number; ++gap) {
        StoreEmptyBlock(static_cast<BlockNumber>(gap),
                        usage_.IsUsed(static_cast<BlockNumber>(gap)));
    }
}

void CompoundFileServer::StoreEmptyBlock(BlockNumber number, bool inUse) {
    DataBlock block;
    block.Reset(number);
    block.SetInUse(inUse);
    block.ClearUnused();
    StoreImage(number, inUse, block.Image());
}

// Before blocks of a removed entry are written again, the directory without it is on its way: a
// crash must not bring the entry back with another one's bytes.
BlockNumber CompoundFileServer::TakeBlock() {
    if (hasUnwrittenRemoval_) {
        WriteDirectory();
    }
    BlockNumber number = usage_.Allocate();
    while (audit_.promised.erase(number) != 0) {
        StoreEmptyBlock(number, true);
        number = usage_.Allocate();
    }
    if (number == kNoBlock) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    return number;
}

KrStreamE::Status CompoundFileServer::RestoreLostEnd() {
    return Guard([this] {
        while (audit_.promised.erase(usage_.Highest() + 1) != 0) {
            StoreEmptyBlock(usage_.Highest() + 1, true);
        }
    });
}

// What is stale is not written either. The lists are short, and their order means nothing.
void CompoundFileServer::ForgetUnwritten(BlockNumber number) {
    if (unwritten_.empty()) {
        return;
    }
    for (std::vector<BlockNumber>* const numbers : {&unwritten_, &stale_}) {
        const auto found = std::find(numbers->begin(), numbers->end(), number);
        if (found != numbers->end()) {
            *found = numbers->back();
            numbers->pop_back();
        }
    }
}

Chain CompoundFileServer::CollectChain(BlockNumber first) {
    Chain chain;
    BlockHeads heads(file_);
    BlockNumber number = first;
    while (number != kNoBlock && audit_.promised.count(number) == 0) {
        AppendLink(chain, number);
        number = IsUnwritten(number) ? kNoBlock : ReadLink(heads, number);
    }
    return chain;
}

void CompoundFileServer::FreeChain(BlockNumber first) {
    // The whole chain is looked at before its first block is touched.
    const Chain chain = CollectChain(first);
    for (std::size_t i = 0; i < chain.Size(); ++i) {
        const BlockNumber number = chain[i];
        // What follows may be another entry's. It stays as it is, wasted at worst.
        if (audit_.contested.count(number) != 0) {
            return;
        }
        FreeBlock(number);
    }
}

// The block's mark on disk is left for WriteFreeMarks: most blocks are taken again before.
void CompoundFileServer::FreeBlock(BlockNumber number) {
    if (!IsUnwritten(number)) {
        usage_.Set(number, false);
        usageDirty_ = true;
        unmarked_.push_back(number);
        return;
    }
    ForgetUnwritten(number);
    if (file_.Contains(number)) {
        StoreEmptyBlock(number, false);
    } else {
        usage_.Set(number, false);
    }
}

// Until a freed block is marked so on disk, a crash wastes it and does no other harm.
void CompoundFileServer::WriteFreeMarks() {
    if (unmarked_.empty()) {
        return;
    }
    std::sort(unmarked_.begin(), unmarked_.end());
    unmarked_.erase(std::unique(unmarked_.begin(), unmarked_.end()), unmarked_.end());
    DataBlock block;
    for (std::size_t i = 0; i < unmarked_.size(); ++i) {
        if (!usage_.IsUsed(unmarked_[i])) {
            FetchBlock(unmarked_[i], block, unmarked_.size() - i);
            block.SetInUse(false);
            StoreImage(unmarked_[i], false, block.Image());
        }
    }
    unmarked_ = {};
    SendToFile();
}
