#include "blockfile/DataBlock.h"

#include <TALVOutl/ByteOrder.h>

#include <algorithm>

using namespace BlockFormat;

void DataBlock::Reset(BlockNumber number) {
    PackHeader({number, 1, kSignature, kNoBlock}, image_.data());
    SetUsed(0);
}

void DataBlock::SetNext(BlockNumber next) {
    StoreLittleEndian(image_.data() + kNextOffset, next);
}

void DataBlock::SetUsed(std::size_t used) {
    StoreLittleEndian(image_.data() + kUsedOffset, static_cast<std::uint16_t>(used));
}

void DataBlock::ClearUnused() {
    std::fill(Payload() + Used(), Payload() + kPayloadSize, static_cast<unsigned char>(0));
}
