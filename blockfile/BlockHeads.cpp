#include "blockfile/BlockHeads.h"

using namespace BlockFormat;

// The last of the heads need not have its payload behind it.
void BlockHeads::Load(BlockNumber number) {
    const ByteStore::Bytes bytes = reading_.View(number, kHeadSize, kHeadSize);
    heads_ = bytes.first;
    first_ = number;
    held_ = (bytes.count + kBlockSize - kHeadSize) / kBlockSize;
}
