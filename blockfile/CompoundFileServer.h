#pragma once

#include "blockfile/BlockFile.h"
#include "blockfile/Chain.h"
#include "blockfile/ChainAudit.h"
#include "blockfile/DataBlock.h"
#include "blockfile/Directory.h"
#include "blockfile/UsageTable.h"

#include <TALVOkrstream/CompoundFile.h>
#include <TALVOutl/BlowFish.h>
#include <TALVOutl/TimeUtl.h>

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <ctime>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class BlockHeads;
class FileStore;
class ServerRegistry;

/// Thrown inside an operation of the engine to end it, and caught in that operation.
struct CompoundFileServerError {
    KrStreamE::Status status;
};

/// The engine that owns one open block file: it conducts the file's blocks, the directory, the
/// usage table and the cipher, and answers every operation with a status, never with an exception.
/// A status other than Ok stops all further input and output; operations then return it unchanged.
///
/// Except for the lock around each read of a block, callers serialise access.
class CompoundFileServer {
public:
    using Status = KrStreamE::Status;
    using BlockNumber = BlockFormat::BlockNumber;

    /// An entry as streams hold it: its slot, and which use of the slot is meant.
    struct EntryRef {
        Directory::Slot slot;
        std::uint32_t generation;
    };

    /// A closed engine with one reference. It keeps `registry` alive and tells it when its last
    /// reference goes.
    explicit CompoundFileServer(std::shared_ptr<ServerRegistry> registry);
    ~CompoundFileServer();
    CompoundFileServer(const CompoundFileServer&) = delete;
    CompoundFileServer& operator=(const CompoundFileServer&) = delete;

    // Opening and closing. What an engine has open is dropped, not written, by a further Open.
    /// Null is a file that could not be had. `canonicalPath` is its path in canonical form.
    Status Open(std::unique_ptr<FileStore> file, std::string canonicalPath, bool readOnly);
    /// Treats the stream as new and empty; refers to it weakly.
    Status Open(const std::shared_ptr<std::iostream>& stream);
    Status Open(const std::shared_ptr<std::iostream>& stream, bool callerKeepsStream);
    /// Writes the directory and the free-list entry where they are out of date; returns the status
    /// from before.
    Status Close();
    /// Writes changed directory blocks and the marks of freed blocks when there is something to
    /// write, or when forced.
    void Flush(bool force);
    std::string FlushToString();

    // References: one for each handle and each entry stream.
    void AddReference() { ++references_; }
    bool IsShared() const { return references_ > 1; }
    /// Gives one back; the last one unregisters, closes and destroys the engine.
    void Release();

    // State.
    Status GetStatus() const { return status_; }
    bool IsReadOnly() const { return readOnly_; }
    int GetFormatVersion() const { return formatVersion_; }
    const std::string& GetPath() const { return path_; }
    int GetNumDirEntrys() const { return static_cast<int>(directory_.EntryCount()); }
    int GetNumDirBlocks() const { return static_cast<int>(directory_.BlockCount()); }
    int GetNumUsedBlocks() const { return static_cast<int>(usage_.CountUsed()); }

    // Directory. Cursors are slot numbers.
    bool Exists(const char* name) const { return Lookup(name).has_value(); }
    const DirEntry* GetFirstDirEntry(unsigned long& index) const;
    const DirEntry* GetNextDirEntry(unsigned long& index) const;
    bool DeleteCFFile(const char* name);
    std::optional<EntryRef> FindEntry(const char* name) const;
    /// Makes an empty entry; `first` is then its first block. None when the name is too long, the
    /// engine cannot be written, or the write failed.
    std::optional<EntryRef> CreateEntry(const char* name, DataBlock& first);
    /// Whether the reference still means the entry that it was made for.
    bool IsCurrent(const EntryRef& entry) const;
    DirEntry& Entry(const EntryRef& entry) { return directory_.Entry(entry.slot); }
    /// To be called after each change of an entry's record.
    void EntryChanged(const EntryRef& entry);
    /// The current local time as a time text.
    const char* TimeText();

    // Data blocks.
    /// That `wanted` blocks from there on will be asked for is a hint.
    Status ReadDataBlock(BlockNumber number, DataBlock& block, std::size_t wanted = 1);
    /// Copies payload bytes from byte `offset` of the chain's block `index` on, until there are
    /// `count` or the chain ends; returns how many. Only in the last block of a chain can there be
    /// less than a full payload. `chain` knows the chain's blocks up to `index` at least, and those
    /// that are come upon are appended, the one behind the last byte included.
    std::size_t ReadPayload(Chain& chain, std::size_t index, std::size_t offset, char* bytes,
                            std::size_t count);
    /// Follows links until `chain` knows `count` blocks or ends; deciphers nothing. `last` is the
    /// last block that is known already, where the caller holds it, or null.
    Status ExtendChain(Chain& chain, std::size_t count, const DataBlock* last);
    Status WriteDataBlock(const DataBlock& block);
    /// Takes a free block and makes `block` its empty record; WriteDataBlock is still to come.
    Status AllocateBlock(DataBlock& block);
    /// Brings the file's last block number near, where tests can reach it.
    void LimitBlocks(BlockNumber last) { usage_.Limit(last); }
    /// Whether a block was given out and its stream has not written it yet: nothing sound stands at
    /// its place, and nobody but that stream may take it for a part of the chain.
    bool IsUnwritten(BlockNumber number) const {
        return !unwritten_.empty() &&
               std::find(unwritten_.begin(), unwritten_.end(), number) != unwritten_.end();
    }
    /// Whether a block may be written through the entry that leads to it.
    bool MayWrite(BlockNumber number) const {
        return !readOnly_ && audit_.contested.count(number) == 0;
    }
    /// To be called before a chain is extended: where the file ends in the middle of a chain, that
    /// chain gets an empty last block.
    Status RestoreLostEnd();

    // Encryption.
    bool IsEncrypted() const;
    bool NeedsPassword() const;
    Status Encrypt(const char* password);
    /// Makes this file encrypted under the other's password, or plain, as the other is.
    Status EncryptLike(const CompoundFileServer& other);
    Status Decrypt();
    bool SetPassword(const char* password);

private:
    Status Fail(Status status);
    /// Runs an operation unless the engine has failed; what it throws becomes the engine's status.
    template <typename Action>
    Status Guard(Action action);
    static void Check(Status status);

    Status OpenStore(std::unique_ptr<ByteStore> bytes, std::uint64_t length);
    Status OpenStream(const std::shared_ptr<std::iostream>& stream, bool callerKeepsStream,
                      bool measured);
    void Finish();
    void Reset();
    void Load();
    void LoadDirectory();
    void LoadUsage();

    std::optional<Directory::Slot> Lookup(const char* name) const;
    const DirEntry* EntryFrom(Directory::Slot from, unsigned long& index) const;
    std::optional<EntryRef> MakeEntry(const char* name, DataBlock& first);
    void RemoveEntry(Directory::Slot slot);
    Directory::Slot TakeSlot();
    void AppendDirBlock();
    void ReadDirBlock(BlockNumber number);
    void WriteChange(const Directory::Change& change);
    void WriteStandIns();
    void WriteEnds();
    void WriteDirectory();
    void WriteChanges();
    void SendToFile();

    void CheckPlace(BlockNumber number) const;
    bool EndsAt(BlockNumber number) const {
        return !audit_.ends.empty() && audit_.ends.count(number) != 0;
    }
    const unsigned char* ViewBlock(BlockFile::Reading& reading, BlockNumber number,
                                   std::size_t needed, std::size_t wanted) const;
    BlockNumber ReadLink(BlockHeads& heads, BlockNumber number) const;
    void AppendLink(Chain& chain, BlockNumber next) const;
    void FetchBlock(BlockNumber number, DataBlock& block, std::size_t wanted);
    void FetchDataBlock(BlockNumber number, DataBlock& block, std::size_t wanted = 1);
    void Decipher(DataBlock& block) const;
    void StoreDataBlock(const DataBlock& block);
    void StoreImage(BlockNumber number, bool inUse, const unsigned char* image);
    void StoreEmptyBlock(BlockNumber number, bool inUse);
    BlockNumber TakeBlock();
    void ForgetUnwritten(BlockNumber number);
    Chain CollectChain(BlockNumber first);
    void FreeChain(BlockNumber first);
    void FreeBlock(BlockNumber number);
    void WriteFreeMarks();

    std::vector<unsigned char> ReadFreeList();
    std::vector<unsigned char> FetchFreeList();
    void WriteFreeList();
    void WriteFreeListBlocks(const Chain& chain, const std::vector<unsigned char>& content);

    bool IsFlaggedEncrypted() const;
    Status EncryptUnder(const std::shared_ptr<const BlowFish::Context>& cipher,
                        const MD5::RawDigest& digest);
    void RequirePassword() const;
    template <typename Change>
    Status ChangePayloads(Change change);
    void SetPasswordRecord(bool encrypted, const MD5::RawDigest& digest);

    int formatVersion_ = 0;
    std::string path_;
    BlockFile file_;
    UsageTable usage_;
    ChainAudit audit_;
    /// One block for each stream that is extending its entry.
    std::vector<BlockNumber> unwritten_;
    /// Those of them at whose place stand the bytes of an entry that is gone.
    std::vector<BlockNumber> stale_;
    /// Blocks that were freed and whose marks on disk may still say that they are in use.
    boost::container::small_vector<BlockNumber, 4> unmarked_;
    bool readOnly_ = false;
    Directory directory_;
    bool directoryDirty_ = false;
    /// An entry was removed, and the directory on disk still has it.
    bool hasUnwrittenRemoval_ = false;
    std::shared_ptr<const BlowFish::Context> cipher_;
    Status status_ = KrStreamE::NotOpen;
    bool usageDirty_ = false;
    std::time_t timeOfText_ = -1;
    char timeText_[kTimeTextSize] = {};

    std::uint32_t references_ = 1;
    std::shared_ptr<ServerRegistry> registry_;
};
