#pragma once

#include <TALVOkrstream/Export.h>

#include <cstddef>
#include <cstdint>
#include <istream>
#include <memory>
#include <string>

class CompoundFileServer;

/// Result and mode values of compound files.
struct KrStreamE {
    /// What became of an operation, or how an open file stands.
    enum Status : std::int32_t {
        /// Open and healthy.
        Ok = 0,
        /// An I/O or format error, or a refused argument. An engine that failed stays failed until
        /// its file is closed.
        Failed = 1,
        /// No file: the handle is empty, or its file could not be opened.
        NotOpen = 2,
        /// A block past the end of the file was asked for: the file is cut short. Stays until it is
        /// closed.
        BeyondEnd = 4,
        /// The file is encrypted and its password has not been given; SetPassword clears this.
        PasswordRequired = 5
    };

    /// Every value but ReadWrite means ReadOnly.
    enum OpenMode : std::int32_t { ReadOnly = 0, ReadWrite = 1 };
};

/// The directory's record of one entry. Texts end in a NUL; times are local time in the C library's
/// asctime form, "Sat Nov 21 08:05:04 2026\n". Sizes are those of the fields on disk.
struct DirEntry {
    /// The longest name, in bytes.
    static constexpr std::size_t kMaxNameLength = 256;

    // What a look-up needs lies side by side, with the name's beginning in one line of a cache.
    /// Length of the entry in bytes.
    std::uint64_t size;
    /// Number of the entry's first data block; 0 in a slot that is free.
    std::uint32_t firstBlock;
    /// The name as it was given when the entry was made.
    char name[kMaxNameLength + 1];
    /// When the entry was made; making it anew sets it again.
    char created[26];
    /// When a block of the entry was last written while its stream lived, by a flush, say. What is
    /// still to be written when the stream is destroyed leaves it as it was.
    char modified[26];
};

/// A handle on a compound file: one ordinary file (or a stream of the caller's) that holds many
/// named entries, each a byte stream that can be read, rewritten, added and deleted without
/// rewriting the others.
///
/// The open file itself is an engine. All handles of the process that open one path share one
/// engine, found by the file's canonical path without regard to letter case (so never open, in one
/// process, two files whose paths differ in letter case alone). The engine lives until the last
/// handle and the last entry stream let go of it; then the directory and the record of free blocks
/// are written and the file is closed.
///
/// **Failure.** No member throws. Failures are a status, false, null or an empty string. A status
/// other than Ok stops all further reading and writing through the engine; what had been written
/// before stays readable after the file is opened anew.
///
/// **Names** are bytes, 1 to 256 of them, without NUL. An entry is found without regard to the case
/// of the letters A to Z.
///
/// **Copies** of a handle share one reference to the engine. The first of them to be closed or
/// destroyed gives it back, and all the others are empty from then on. Assigning over a handle that
/// holds a file does not release that file: close the handle first.
///
/// **Threads.** Handles and streams of one file belong to one thread at a time, opening and closing
/// included. Different files may be used by different threads at the same time.
///
/// **Sharing with other processes.** A file open for reading and writing admits no other opener;
/// one open for reading only admits other readers (advisory locks, flock). Nothing here waits for a
/// lock.
class TALVOKRSTREAM_EXPORT CompoundFile {
public:
    /// Name of the entry in which the engine keeps its record of free blocks. It is listed and
    /// counted like any other.
    static constexpr const char* kFreeListEntryName = "kravonel_block_file_free_list";

    /// An empty handle.
    CompoundFile();
    /// Closes the handle.
    ~CompoundFile();
    /// Shares the other handle's reference; see Copies above.
    CompoundFile(const CompoundFile&);
    /// Shares the other handle's reference; the file held so far is not released.
    CompoundFile& operator=(const CompoundFile&);

    /// Opens the block file at `path`; a handle that holds a file is closed first.
    ///
    /// A missing file is created empty (mode 0600), in either mode; an empty file is a valid block
    /// file. When the process has the file open already, the handle joins that engine: the engine's
    /// mode stays what it was, and its status is returned.
    ///
    /// Returns Ok, or NotOpen, with the handle empty, whatever went wrong: null, no regular file,
    /// no permission, in use by another process, not a block file, damaged. An encrypted file opens
    /// without its password. Read only, the cost is that of reading the directory; for writing,
    /// also one pass over the whole file's block headers, and memory of one byte a block while the
    /// file is open and six more a block for the moment of opening.
    KrStreamE::Status Open(const char* path, KrStreamE::OpenMode mode);

    /// Opens for reading and writing on a caller's stream as on a new, empty file, whatever the
    /// stream holds; a handle that holds a file is closed first. The engine refers to the stream
    /// weakly: keep it alive, or operations fail. The engine is this handle's alone. Ok, or NotOpen
    /// with the handle empty.
    KrStreamE::Status Open(std::shared_ptr<std::iostream> stream);

    /// As above on the block file that the stream holds. With `callerKeepsStream` false the engine
    /// shares ownership of the stream until it closes; with true it refers to it weakly.
    KrStreamE::Status Open(std::shared_ptr<std::iostream> stream, bool callerKeepsStream);

    /// Gives up the handle's reference and empties the handle. The file is closed with the last
    /// reference, entry streams counted. Returns the status before closing; NotOpen for an empty
    /// handle.
    KrStreamE::Status Close();

    /// The engine's status; NotOpen for an empty handle.
    KrStreamE::Status GetStatus() const;
    /// Whether the engine was opened for reading only; false for an empty handle.
    bool IsReadOnly() const;

    /// Whether anything else of this process has the file open too: another handle (copies of this
    /// one are no other) or an entry stream.
    bool IsShared() const;

    /// Whether payloads are enciphered: the file has a password, holds an entry, and the status is
    /// Ok.
    bool IsEncrypted() const;

    /// Whether the file has a password that has not been given yet; false for an empty handle.
    bool NeedsPassword() const;

    /// Enciphers all payloads under a password (any bytes up to the NUL, not empty; the first 72
    /// make the key). An encrypted file is first deciphered, so its old password must have been
    /// given. Names, times and sizes stay readable; bytes of blocks freed earlier stay plain on
    /// disk.
    ///
    /// Ok; the status of an engine not Ok; Failed, with nothing changed on disk, for an empty or
    /// null password and, the engine having failed, for a file with damaged chains; Failed on a
    /// read-only engine; PasswordRequired when the old password is missing. A failed write leaves
    /// the blocks before it in their new form. Reads and writes every payload once.
    KrStreamE::Status Encrypt(const char* password);

    /// Deciphers all payloads and removes the password. Ok, also for a file that is not encrypted;
    /// otherwise as Encrypt.
    KrStreamE::Status Decrypt();

    /// Makes the file encrypted under the password of another one, or plain, as the other is. As
    /// Encrypt and Decrypt otherwise; PasswordRequired, with nothing changed, when the other file's
    /// password has not been given, NotOpen when one of the two handles is empty.
    KrStreamE::Status EncryptLike(const CompoundFile& other);

    /// Gives the password of an encrypted file. True when it fits, on a plain file (whatever the
    /// password, null too), and (without effect) on an empty handle; false when it does not fit, is
    /// empty or null, or the status is neither Ok nor PasswordRequired.
    bool SetPassword(const char* password);

    /// Writes changed directory blocks and the marks of freed blocks, if any, and hands everything
    /// written so far to the operating system. Data still in the buffers of open entry streams is
    /// not included. GetStatus tells whether it went well. Nothing happens for an empty handle, a
    /// read-only engine and one that is not Ok. The cost is that of the blocks that changed.
    void Flush();

    /// Writes what Flush writes and returns the bytes of the whole file; empty when the
    /// engine is read only or its status is not Ok. The record of free blocks is written on closing
    /// only, and so is not up to date.
    std::string FlushToString();

    /// Whether an entry of this name exists, without regard to case under the global locale; false
    /// for null and an empty handle. One look-up; where that locale folds more than A to Z, a walk
    /// over the directory.
    bool Exists(const char* name) const;

    /// Deletes an entry and frees its blocks. False when it is missing, the engine is read only or
    /// not Ok, the entry's chain is damaged, or the password is missing. A stream open on the entry
    /// fails from then on. Reads the heads of the entry's blocks; nothing is written before the
    /// next Flush, the end of a stream that wrote, or closing, and an error then shows in
    /// GetStatus.
    bool DeleteCFFile(const char* name);

    /// The file's canonical path; empty for a caller's stream and for an empty handle.
    std::string GetCompoundFileName() const;

    /// The first entry in directory order; null when there is none. `*index` is a cursor, which
    /// this sets and GetNextDirEntry moves; it must not be null. The record belongs to the engine.
    /// It stays valid, and follows changes, while the file is open and the entry is not deleted.
    const DirEntry* GetFirstDirEntry(unsigned long* index) const;
    /// The next entry after the one at the cursor; null at the end. Entries made or deleted in the
    /// middle of a walk do not disturb it; a new one may be met or not.
    const DirEntry* GetNextDirEntry(unsigned long* index) const;
    /// GetFirstDirEntry for the name alone, which is valid as long as that record.
    const char* GetFirstDirName(unsigned long* index) const;
    /// GetNextDirEntry for the name alone.
    const char* GetNextDirName(unsigned long* index) const;

    /// Number of entries, the record of free blocks included. Constant time. This and the other
    /// numbers below are 0 for an empty handle.
    int GetNumDirEntrys() const;
    /// Number of blocks in use; 0 for a read-only engine, which does not look. Time of a pass over
    /// a byte a block.
    int GetNumUsedBlocks() const;
    /// Number of directory blocks, each with room for three entries. Constant time.
    int GetNumDirBlocks() const;
    /// Version of the on-disk format that the file had when it was opened, 1 or 2; 0 for a file
    /// that was empty.
    int GetFormatVersion() const;

    /// The engine, without a reference; null for an empty handle. Its class is private to the
    /// library: the pointer says whether two handles share an engine, and no more.
    CompoundFileServer* GetCompoundFileServer() const;

    /// A binary stream on an entry; the caller owns it. The stream holds the engine open on its
    /// own, and may outlive the handle. Destroying it writes what is left and the changed directory
    /// blocks.
    ///
    /// `mode` is "rb" or "r+b" for an existing entry, positioned at its beginning ("r+b" and "rb"
    /// are one: what is written changes the entry in place and extends it at its end), or "wb" for
    /// an entry that starts empty, made anew when the name exists. A mode without "b" gives a
    /// stream that is bad from the start; a mode that begins with another letter gives null.
    ///
    /// What a stream still holds when it is destroyed is written then, and writes are gathered on
    /// their way to the operating system, so an error may show in GetStatus alone: to be sure,
    /// destroy the stream, then call Flush and GetStatus.
    ///
    /// Null also for an empty handle, an empty or null name, a name over 256 bytes, a missing entry
    /// ("r"), and, with "w", for a read-only engine, a missing password or an engine that is not
    /// Ok; with "r" such an engine gives a stream that is bad from the start. I/O errors set the
    /// stream's badbit and the engine's status. One stream at a time should write an entry, with
    /// nobody else reading it; writing through two streams at once damages that entry and can waste
    /// blocks.
    ///
    /// Memory: two blocks, a buffer of 10,240 bytes, and four bytes for each block visited.
    std::unique_ptr<std::iostream> GetIOStream(const char* name, const char* mode);

private:
    struct Reference;

    CompoundFileServer* Engine() const;
    template <typename Acquire>
    KrStreamE::Status Hold(Acquire acquire);

    std::shared_ptr<Reference> reference_;
};
