#pragma once

#include <TALVOkrstream/CompoundFile.h>
#include <TALVOkrstream/Export.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Checking block files that may be damaged, and saving what is left in them.
///
/// Nothing here goes through the engine of an open file: blocks are read one by one, and none of
/// them can hide the others. A file that is checked is never written to.
namespace Recovery {

/// What became of an operation on a damaged file.
enum class Status {
    /// Done.
    Ok,
    /// Missing, no regular file, or not to be opened; nothing is created.
    NotOpen,
    /// Somebody, this process included, has the file open for writing.
    InUse,
    /// Not one block of the file is of this format.
    NotBlockFile,
    /// The file is encrypted and its password has not been given.
    PasswordRequired,
    /// The target could not be written; what is in it is worth nothing.
    WriteFailed
};

/// What a block of the file is.
enum class Role : std::uint8_t {
    /// Marked free, and part of no chain.
    Free,
    Directory,
    /// A block of an entry's chain; the block's owner is the entry.
    Entry,
    /// A block of the library's record of free blocks, which is an entry too.
    FreeList,
    /// Marked in use, but part of no chain. In an orphan chain, the owner is the chain's number,
    /// from 0 on.
    Orphan,
    /// Cannot be read, or shows no sign of being a block of this format.
    Foreign
};

/// A block as the whole file shows it.
struct Block {
    /// Index of an entry for the roles Entry and FreeList, number of an orphan chain for Orphan,
    /// else 0.
    std::uint32_t owner;
    /// What the block is.
    Role role;
};

/// An entry as the directory names it.
struct Entry {
    /// At most DirEntry::kMaxNameLength bytes, any of them.
    std::string name;
    /// Local times as recorded, without the closing newline; any bytes in a damaged file.
    std::string created;
    /// As `created`.
    std::string modified;
    /// Length in bytes that the directory records. That of the record of free blocks is one less
    /// than its content.
    std::uint64_t size;
    /// Number of the entry's first data block, as recorded.
    std::uint32_t firstBlock;
    /// The directory block that holds the entry's slot.
    std::uint32_t directoryBlock;
    /// How many blocks of the entry can be reached.
    std::uint64_t blocks;
    /// How many bytes of the entry can be reached: all of them when that is not below `size`.
    std::uint64_t bytes;
    /// Whether this is the library's record of free blocks.
    bool isFreeList;
};

/// The rules of the format, by what breaks them. NameOf gives each a text that stays the same.
enum class Kind {
    /// The length is a multiple of 1024.
    FileLength,
    /// The disk gives the block.
    BlockUnreadable,
    /// A block carries its position.
    BlockNumber,
    /// A block carries the signature of a known version.
    BlockSignature,
    /// No padding stays behind.
    BlockPadding,
    /// The mark of use is 0 or 1.
    InUseValue,
    /// A block has at most 1003 used bytes.
    UsedBytes,
    /// A block of the directory or of an entry is marked in use.
    MarkedFree,
    /// A block marked in use is part of something.
    OrphanBlock,
    /// What the directory's chain leads to has the magic.
    DirectoryMagic,
    /// The directory's chain ends within the file.
    DirectoryBeyondEnd,
    /// The directory's chain ends.
    DirectoryCycle,
    /// The directory's chain leads to every directory block.
    DirectoryUnlinked,
    /// Flags stand in block 1 alone.
    DirectoryFlags,
    /// The digest stands in block 1 alone and fits the flags.
    PasswordDigest,
    /// An entry has a name.
    NameEmpty,
    /// A name ends within its field.
    NameUnterminated,
    /// No two names are equal.
    NameDuplicate,
    /// Times have the form of a time.
    TimeText,
    /// A slot without a first block has no length.
    FreeSlotSize,
    /// An entry's chain ends within the file.
    ChainBeyondEnd,
    /// An entry's chain ends.
    ChainCycle,
    /// No block belongs to two entries.
    ChainCrossed,
    /// An entry's chain leads to no directory block.
    ChainInDirectory,
    /// An entry's chain leads through blocks of this format.
    ChainUnreadable,
    /// Every block of a chain but the last is full.
    BlockNotFull,
    /// The last block of a chain is not full.
    LastBlockFull,
    /// A chain holds the bytes that the directory records.
    SizeOverChain,
    /// A chain holds no more than the directory records.
    ChainOverSize,
    /// There is a record of free blocks.
    FreeListMissing,
    /// The record of free blocks is current.
    FreeListStale,
    /// The record is right about every block.
    FreeListFlags,
    /// The record has its length.
    FreeListSize,
};

/// A kind as a short text of lower-case words joined by hyphens, "block-number". Any thread.
TALVOKRSTREAM_EXPORT const char* NameOf(Kind kind);

/// How bad a finding is.
enum class Severity {
    /// Costs space or time at most. A program that ended without closing the file leaves this.
    Notice,
    /// Bytes are lost or in danger, or the file cannot be opened or changed.
    Damage
};

/// A place where a file breaks a rule.
struct Finding {
    /// The rule.
    Kind kind;
    /// What that costs.
    Severity severity;
    /// The block that breaks the rule; 0 when the finding is about no block. Where a chain leads
    /// astray, the number need not be that of a block in the file.
    std::uint32_t block;
    /// How many blocks from that one on break the rule alike; 0 when the finding is about none.
    std::uint32_t blockCount;
    /// Name of the entry concerned; may be empty.
    std::string entry;
    /// What is wrong, in English, without the block and the entry.
    std::string text;
};

/// What became of an entry, or of an orphan chain, in a repair.
struct Saved {
    /// How much of it is in the repaired file.
    enum class Extent {
        /// All of it.
        Whole,
        /// Its beginning.
        Part,
        /// Nothing.
        Lost
    };

    /// How much of it is in the repaired file.
    Extent extent;
    /// Whether this is an orphan chain.
    bool isOrphan;
    /// Name in the damaged file; empty for an orphan chain.
    std::string name;
    /// Name in the repaired file; empty when nothing was saved.
    std::string savedAs;
    /// Bytes saved.
    std::uint64_t bytes;
    /// Bytes that the directory records; for an orphan chain the bytes found.
    std::uint64_t recordedBytes;
};

/// Told the number of bytes read since it was last called. What it throws ends the operation and
/// reaches the caller.
using Progress = std::function<void(std::uint64_t bytes)>;

/// A block file that is checked or repaired.
///
/// **Failure.** Beside what a Progress throws, members throw std::bad_alloc only.
///
/// **Sharing.** An open File holds a shared lock (flock) on the file, as a read-only CompoundFile
/// does, and so keeps it from being changed. Nothing here waits for a lock.
///
/// **Cost.** Opening reads the file once from front to back, and the directory blocks once more.
/// Memory is some thirty bytes a block, and what the directory holds; payloads are never kept. Time
/// and memory stay in proportion to the file whatever its bytes are.
///
/// **Threads.** A File belongs to one thread at a time. Different ones are independent.
class TALVOKRSTREAM_EXPORT File {
public:
    /// No file.
    File();
    /// Closes the file.
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /// Opens and reads the file at `path`; one that is open already is closed first. Needs the
    /// right to read and no other. Ok, NotOpen, InUse or NotBlockFile; all but Ok leave no file. A
    /// file of no bytes is a sound block file. Null counts as a missing file.
    Status Open(const char* path, const Progress& progress = {});

    // The members below describe the file that is open; without one they return 0, false or
    // nothing, but SetPassword true.

    /// Length in bytes.
    std::uint64_t Length() const;
    /// Whether payloads are enciphered. Where the first block is lost, a record of free blocks
    /// that cannot be understood is taken for a sign of it.
    bool IsEncrypted() const;
    /// Gives the password of an encrypted file. True when it fits, on a plain file whatever the
    /// password, and where nothing is left to check it by. A password that fits the digest of a
    /// file whose encryption flag is not set turns the file into an encrypted one.
    bool SetPassword(const char* password);
    /// Whether payloads can be read: the file is plain, or its password has been given.
    bool IsReadable() const;

    /// What each block is; element n - 1 is about the block at position n. A last block that is cut
    /// short counts.
    const std::vector<Block>& Blocks() const;
    /// The entries in directory order, the record of free blocks included; those in directory
    /// blocks that the directory's chain does not lead to come last.
    const std::vector<Entry>& Entries() const;

    /// Holds the file against every rule of the format. What the library closes breaks none of
    /// them. Of an encrypted file without its password, all is checked but the content of the
    /// record of free blocks. Reads little more than that record.
    std::vector<Finding> Check();

    /// Writes all that can be read to `target`, which has to be open for writing and empty; gives
    /// it the file's password before the first byte of an entry. What became of each entry is
    /// appended to `saved`, in directory order, orphan chains last.
    ///
    /// Entries are cut where their chain breaks. Two entries that share blocks do not both get
    /// them: one whose chain fits its recorded length comes first. Orphan chains become
    /// "recovered-0001" and so on; blocks marked free hold deleted bytes and are left alone. Names
    /// that are equal without regard to the case of A to Z, or empty, get a number. Times become
    /// that of the repair.
    ///
    /// Ok, PasswordRequired with nothing written, WriteFailed, or NotOpen without a file. Closing
    /// the target is left to the caller. Reads each payload once.
    Status Repair(CompoundFile& target, std::vector<Saved>& saved, const Progress& progress = {});

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace Recovery
