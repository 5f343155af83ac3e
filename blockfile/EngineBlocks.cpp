#include "blockfile/CompoundFileServer.h"
#include "blockfile/EngineGuard.h"

#include <algorithm>

using namespace BlockFormat;

KrStreamE::Status CompoundFileServer::ReadDataBlock(BlockNumber number, DataBlock& block) {
    return Guard([&] { Check(FetchDataBlock(number, block)); });
}

KrStreamE::Status CompoundFileServer::ReadLink(BlockNumber number, BlockNumber& next) {
    return Guard([&] {
        DataBlock block;
        Check(FetchBlock(number, block, kPayloadOffset));
        next = block.Next();
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
    });
}

std::uint64_t CompoundFileServer::ChainLimit() const {
    return std::max<std::uint64_t>(file_.BlockCount(), usage_.Highest());
}

bool CompoundFileServer::IsUnwritten(BlockNumber number) const {
    return std::find(unwritten_.begin(), unwritten_.end(), number) != unwritten_.end();
}

KrStreamE::Status CompoundFileServer::FetchBlock(BlockNumber number, DataBlock& block,
                                                 std::size_t count) {
    if (number == kNoBlock || directory_.HoldsBlock(number)) {
        return KrStreamE::Failed;
    }
    if (!file_.Contains(number)) {
        return KrStreamE::BeyondEnd;
    }
    const bool sound = file_.Read(number, block.Image(), count) && block.IsSoundAt(number);
    return sound ? KrStreamE::Ok : KrStreamE::Failed;
}

KrStreamE::Status CompoundFileServer::FetchDataBlock(BlockNumber number, DataBlock& block) {
    const Status status = FetchBlock(number, block, kBlockSize);
    // A crash can leave the mark of a block that is part of a chain at free; written back like
    // that, the block would be given to somebody else.
    block.SetInUse(true);
    if (status != KrStreamE::Ok || !IsEncrypted()) {
        return status;
    }
    if (cipher_ == nullptr) {
        return KrStreamE::PasswordRequired;
    }
    cipher_->Decipher(block.Payload(), EncipheredLength(block.Used()), number);
    return KrStreamE::Ok;
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

void CompoundFileServer::ForgetUnwritten(BlockNumber number) {
    unwritten_.erase(std::remove(unwritten_.begin(), unwritten_.end(), number), unwritten_.end());
}

CompoundFileServer::Chain CompoundFileServer::CollectChain(BlockNumber first) {
    Chain chain;
    DataBlock block;
    BlockNumber number = first;
    while (number != kNoBlock && audit_.promised.count(number) == 0) {
        if (chain.size() >= ChainLimit()) {
            throw CompoundFileServerError{KrStreamE::Failed};
        }
        chain.push_back(number);
        if (IsUnwritten(number)) {
            break;
        }
        Check(FetchBlock(number, block, kPayloadOffset));
        number = block.Next();
    }
    return chain;
}

void CompoundFileServer::FreeChain(BlockNumber first) {
    // The whole chain is looked at before its first block is touched.
    const Chain chain = CollectChain(first);
    for (const BlockNumber number : chain) {
        // What follows may be another entry's. It stays as it is, wasted at worst.
        if (audit_.contested.count(number) != 0) {
            return;
        }
        FreeBlock(number);
    }
}

void CompoundFileServer::FreeBlock(BlockNumber number) {
    if (!IsUnwritten(number)) {
        DataBlock block;
        Check(FetchBlock(number, block, kBlockSize));
        block.SetInUse(false);
        StoreImage(number, false, block.Image());
        return;
    }
    ForgetUnwritten(number);
    if (file_.Contains(number)) {
        StoreEmptyBlock(number, false);
    } else {
        usage_.Set(number, false);
    }
}
