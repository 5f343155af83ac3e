#include "blockfile/KrIOStreamDevice.h"

#include <algorithm>
#include <cstring>
#include <limits>

using namespace BlockFormat;

namespace {

constexpr char kReadError[] = "Error in KrIOStreamDevice::read";
constexpr char kWriteError[] = "Error in KrIOStreamDevice::write";
constexpr char kSeekError[] = "Error in KrIOStreamDevice::seek";
constexpr char kFlushError[] = "Error in KrIOStreamDevice::flush";

/// How much of an entry is read ahead with its first block.
constexpr std::size_t kFirstRead = 8 * kPayloadSize;

constexpr std::size_t kNowhere = std::numeric_limits<std::size_t>::max();

} // namespace

class KrIOStreamDevice::Data {
public:
    Data(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
         std::unique_ptr<DataBlock> first);
    ~Data();
    Data(const Data&) = delete;
    Data& operator=(const Data&) = delete;

    std::streamsize Read(char* bytes, std::size_t count);
    std::size_t Write(const char* bytes, std::size_t count);
    std::uint64_t Seek(std::int64_t offset, std::ios_base::seekdir direction);
    void Flush();

private:
    DirEntry& Entry() { return engine_.Entry(entry_); }
    bool IsUsable() const { return engine_.GetStatus() == KrStreamE::Ok && IsAlive(); }
    /// False once the entry has been deleted or made anew: its blocks may be somebody else's by
    /// now.
    bool IsAlive() const { return engine_.IsCurrent(entry_); }
    void Require(bool condition, const char* error) const;

    std::size_t OffsetInBlock() const { return static_cast<std::size_t>(position_ % kPayloadSize); }
    std::size_t BlockOfPosition() const {
        return static_cast<std::size_t>(position_ / kPayloadSize);
    }
    std::unique_ptr<DataBlock> ReadFirst();
    BlockNumber NextOfCurrent() const;
    std::size_t HeldByCurrent() const;

    std::size_t ReadPayload(char* bytes, std::size_t count);
    bool EndsInFullBlock();
    bool GoToBlock(std::size_t index);
    bool Knows(std::size_t index);
    bool GoToBlockOrAppend(std::size_t index);
    bool AppendBlock();
    bool WriteCurrent();

    CompoundFileServer& engine_;
    const CompoundFileServer::EntryRef entry_;
    /// Null when the entry's first block could not be read.
    std::unique_ptr<DataBlock> current_;
    /// Made when a block is first appended.
    std::unique_ptr<DataBlock> spare_;
    /// Index of the current block in the chain; kNowhere when it is none of the chain's.
    std::size_t blockIndex_ = 0;
    std::uint64_t position_ = 0;
    /// The chain's blocks visited so far, from its beginning.
    Chain chain_;
    /// The current block holds changes that are not written yet.
    bool dirty_ = false;
    bool written_ = false;
};

KrIOStreamDevice::Data::Data(CompoundFileServer& engine, const CompoundFileServer::EntryRef& entry,
                             std::unique_ptr<DataBlock> first)
    : engine_(engine), entry_(entry), current_(first != nullptr ? std::move(first) : ReadFirst()) {
    if (current_ != nullptr) {
        chain_.Append(Entry().firstBlock);
    }
    engine_.AddReference();
}

KrIOStreamDevice::Data::~Data() {
    if (dirty_ && IsAlive()) {
        current_->ClearUnused();
        engine_.WriteDataBlock(*current_);
    }
    engine_.Flush(written_);
    engine_.Release();
}

std::unique_ptr<DataBlock> KrIOStreamDevice::Data::ReadFirst() {
    auto block = std::make_unique<DataBlock>();
    const auto wanted = std::min<std::uint64_t>(Entry().size, kFirstRead);
    const KrStreamE::Status status =
        engine_.ReadDataBlock(Entry().firstBlock, *block, BlocksFor(wanted));
    return status == KrStreamE::Ok ? std::move(block) : nullptr;
}

std::streamsize KrIOStreamDevice::Data::Read(char* bytes, std::size_t count) {
    Require(IsUsable(), kReadError);
    const std::uint64_t size = Entry().size;
    if (position_ == size) {
        return -1;
    }
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size - position_));
    if (count == 0) {
        return 0;
    }
    const std::size_t done = ReadPayload(bytes, count);
    Require(done > 0 && IsUsable(), kReadError);
    position_ += done;
    // A chain that ends in a full block was made by another writer; it gets the empty block that
    // belongs there.
    if (position_ == size && EndsInFullBlock() && engine_.MayWrite(chain_.Last())) {
        Require(AppendBlock(), kReadError);
    }
    return static_cast<std::streamsize>(done);
}

std::size_t KrIOStreamDevice::Data::Write(const char* bytes, std::size_t count) {
    Require(IsUsable() && current_ != nullptr, kWriteError);
    // A read-only engine refuses the block, which leaves it failed; its directory in memory stays
    // as it was.
    Require(!engine_.IsReadOnly() || engine_.WriteDataBlock(*current_) == KrStreamE::Ok,
            kWriteError);
    Require(engine_.RestoreLostEnd() == KrStreamE::Ok, kWriteError);
    written_ = true;
    std::size_t done = 0;
    while (done < count) {
        Require(GoToBlockOrAppend(BlockOfPosition()), kWriteError);
        const std::size_t offset = OffsetInBlock();
        // Bytes that the chain does not hold cannot be skipped over.
        Require(offset <= current_->Used() || NextOfCurrent() != kNoBlock, kWriteError);
        const std::size_t piece = std::min(count - done, kPayloadSize - offset);
        std::memcpy(current_->Payload() + offset, bytes + done, piece);
        dirty_ = true;
        current_->SetUsed(std::max(current_->Used(), offset + piece));
        if (offset + piece == kPayloadSize && NextOfCurrent() == kNoBlock) {
            Require(AppendBlock(), kWriteError);
        }
        done += piece;
        position_ += piece;
        if (position_ > Entry().size) {
            Entry().size = position_;
            engine_.EntryChanged(entry_);
        }
    }
    return done;
}

std::uint64_t KrIOStreamDevice::Data::Seek(std::int64_t offset, std::ios_base::seekdir direction) {
    Require(IsUsable(), kSeekError);
    const std::uint64_t size = Entry().size;
    auto target = static_cast<std::uint64_t>(offset);
    if (direction == std::ios_base::cur) {
        target += position_;
    } else if (direction == std::ios_base::end) {
        target += size;
    } else if (direction != std::ios_base::beg) {
        return position_;
    }
    // Unsigned, so that a target before the beginning is beyond the end as well.
    target = std::min(target, size);
    Require(target <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()),
            kSeekError);
    position_ = target;
    return position_;
}

void KrIOStreamDevice::Data::Flush() {
    Require(IsUsable(), kFlushError);
    Require(WriteCurrent(), kFlushError);
}

void KrIOStreamDevice::Data::Require(bool condition, const char* error) const {
    if (!condition) {
        throw KrIOException(error);
    }
}

// A block that another stream has appended and not written yet is not there for this one.
BlockNumber KrIOStreamDevice::Data::NextOfCurrent() const {
    const BlockNumber next = current_->Next();
    return engine_.IsUnwritten(next) ? kNoBlock : next;
}

// Copies from the current block, which may hold what is not written yet, and from the blocks of the
// chain; returns how many bytes there were before the chain's end or an error.
std::size_t KrIOStreamDevice::Data::ReadPayload(char* bytes, std::size_t count) {
    const std::size_t index = BlockOfPosition();
    if (current_ != nullptr && index == blockIndex_ && OffsetInBlock() + count <= HeldByCurrent()) {
        std::memcpy(bytes, current_->Payload() + OffsetInBlock(), count);
        return count;
    }
    if (!WriteCurrent() || !Knows(index)) {
        return 0;
    }
    // Another stream may write to the block that is left.
    blockIndex_ = kNowhere;
    return engine_.ReadPayload(chain_, index, OffsetInBlock(), bytes, count);
}

// Only in the last block of a chain can there be less than a full payload.
std::size_t KrIOStreamDevice::Data::HeldByCurrent() const {
    return NextOfCurrent() == kNoBlock ? current_->Used() : kPayloadSize;
}

// Whether the position is at the end of the chain's last block and that block is full. The current
// block is then that one.
bool KrIOStreamDevice::Data::EndsInFullBlock() {
    const std::size_t index = BlockOfPosition();
    return OffsetInBlock() == 0 && index > 0 && index == chain_.Size() && GoToBlock(index - 1) &&
           current_->Next() == kNoBlock && current_->Used() == kPayloadSize;
}

// Makes block `index` of the chain the current one; false when the chain ends before it or the
// engine fails.
bool KrIOStreamDevice::Data::GoToBlock(std::size_t index) {
    if (current_ == nullptr || index == blockIndex_) {
        return current_ != nullptr;
    }
    if (!WriteCurrent() || !Knows(index) ||
        engine_.ReadDataBlock(chain_[index], *current_) != KrStreamE::Ok) {
        return false;
    }
    blockIndex_ = index;
    return true;
}

// Whether the chain has a block `index`.
bool KrIOStreamDevice::Data::Knows(std::size_t index) {
    const DataBlock* const last = blockIndex_ + 1 == chain_.Size() ? current_.get() : nullptr;
    return !chain_.IsEmpty() && engine_.ExtendChain(chain_, index + 1, last) == KrStreamE::Ok &&
           index < chain_.Size();
}

bool KrIOStreamDevice::Data::GoToBlockOrAppend(std::size_t index) {
    if (GoToBlock(index)) {
        return true;
    }
    return engine_.GetStatus() == KrStreamE::Ok && EndsInFullBlock() && AppendBlock();
}

// Links a new, empty block to the current one, which is the chain's last, and goes there. The full
// block is written once, with its link in it.
bool KrIOStreamDevice::Data::AppendBlock() {
    if (spare_ == nullptr) {
        spare_ = std::make_unique<DataBlock>();
    }
    if (engine_.AllocateBlock(*spare_) != KrStreamE::Ok) {
        return false;
    }
    current_->SetNext(spare_->Number());
    dirty_ = true;
    if (!WriteCurrent()) {
        return false;
    }
    current_.swap(spare_);
    chain_.Append(current_->Number());
    ++blockIndex_;
    dirty_ = true;
    return true;
}

bool KrIOStreamDevice::Data::WriteCurrent() {
    if (!dirty_) {
        return true;
    }
    std::memcpy(Entry().modified, engine_.TimeText(), sizeof(DirEntry::modified));
    engine_.EntryChanged(entry_);
    current_->ClearUnused();
    dirty_ = false;
    return engine_.WriteDataBlock(*current_) == KrStreamE::Ok;
}

KrIOStreamDevice::KrIOStreamDevice(CompoundFileServer& engine,
                                   const CompoundFileServer::EntryRef& entry,
                                   std::unique_ptr<DataBlock> first)
    : data_(std::make_shared<Data>(engine, entry, std::move(first))) {}

std::streamsize KrIOStreamDevice::read(char* bytes, std::streamsize n) {
    return data_->Read(bytes, static_cast<std::size_t>(n));
}

std::streamsize KrIOStreamDevice::write(const char* bytes, std::streamsize n) {
    return static_cast<std::streamsize>(data_->Write(bytes, static_cast<std::size_t>(n)));
}

std::streampos KrIOStreamDevice::seek(boost::iostreams::stream_offset offset,
                                      std::ios_base::seekdir direction) {
    return static_cast<std::streamoff>(data_->Seek(offset, direction));
}

bool KrIOStreamDevice::flush() {
    data_->Flush();
    return true;
}
