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
    if (!audit_.MayWrite(number)) {
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
    if (!file_.Write(number, image)) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
}

BlockNumber CompoundFileServer::TakeBlock() {
    const BlockNumber number = usage_.Allocate();
    if (number == kNoBlock) {
        throw CompoundFileServerError{KrStreamE::Failed};
    }
    return number;
}

void CompoundFileServer::ForgetUnwritten(BlockNumber number) {
    unwritten_.erase(std::remove(unwritten_.begin(), unwritten_.end(), number), unwritten_.end());
}

CompoundFileServer::Chain CompoundFileServer::CollectChain(BlockNumber first) {
    Chain chain;
    DataBlock block;
    BlockNumber number = first;
    while (number != kNoBlock) {
        if (chain.size() >= ChainLimit() || audit_.contested.count(number) != 0) {
            throw CompoundFileServerError{KrStreamE::Failed};
        }
        chain.push_back(number);
        if (IsUnwritten(number)) {
            break;
        }
        Check(FetchBlock(number, block, kPayloadOffset));
        number = audit_.cutOff.count(number) != 0 ? kNoBlock : block.Next();
    }
    return chain;
}

void CompoundFileServer::FreeChain(BlockNumber first) {
    // The whole chain is looked at before its first block is touched.
    for (const BlockNumber number : CollectChain(first)) {
        if (IsUnwritten(number)) {
            usage_.Set(number, false);
            ForgetUnwritten(number);
            continue;
        }
        DataBlock block;
        Check(FetchBlock(number, block, kBlockSize));
        block.SetInUse(false);
        audit_.cutOff.erase(number);
        StoreImage(number, false, block.Image());
    }
}
