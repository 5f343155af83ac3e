#pragma once

#include <TALVOkrstream/KrStreamSource.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

/// A source that lets an application work on the streams of a compound file as ordinary files, in a
/// folder of their own, the workspace. A stream is copied out of the compound file when it is first
/// asked for; reading and writing then go to the file. Saving copies changed files back.
///
/// **Life.** Construct with the two paths, Open, use streams, save with CopyToBlockFile, Close.
/// Close removes the workspace. A program that ends without Close leaves it behind with whatever
/// was not saved, and the next one can take it up. So open with ExistingWorkspace first, and with
/// NewWorkspace only after TempDirDoesNotExist: NewWorkspace, too, works on what it finds there.
/// After taking a workspace up, call SetIsDirty(true, nullptr), because Open cannot know what that
/// program had changed: every file in it then counts as changed, temporary streams too, and
/// deletions that were not saved are forgotten. A workspace that is marked
/// (PreviousDeleteOfTempDirUnsuccessfull) is the rest of one that could not be removed when its
/// program closed the source, or tried to compact: look whether it holds anything that the compound
/// file does not, then call DeleteDirectory.
///
/// **Which bytes count.** A file in the workspace, named as its stream (GetDirectoryName followed
/// by the name), always wins over the entry of that name. The application may change, add and
/// replace files with ordinary file calls, GetIStream having copied the stream out; it tells the
/// source with SetIsDirty, naming the stream unless the file is new. Do not cut a file short while
/// a stream reads it, for streams read through a memory mapping: replace the file instead, as
/// GetOStream does. Streams for writing have to be destroyed before a save: what they write later
/// is not noticed.
///
/// **Letter case.** The compound file does not tell A from a, most file systems here do. A stream's
/// file is found in any case, its exact spelling first; a new file takes the spelling asked for,
/// and the saved entry takes its file's. If the application itself puts two files there that differ
/// in nothing but case, only one of them could be saved: CopyToBlockFile and SaveAs then answer
/// FileSystemError before they write anything, until one is removed or renamed. (So does SaveAs for
/// a damaged compound file with two such entries.)
///
/// **Names that cannot be files** (with a separator, "." or "..", over 255 bytes) stay in the
/// compound file: GetIStream reads them there, SaveAs and compaction keep them, and the writable
/// forms are null. In a compound file of format version 1, names are in a code page
/// (windows-1252): while such a file is open, a stream's file is named in UTF-8, and the stream is
/// found under either name; the entry keeps its own. The first save makes the file version 2, and
/// from the next Open on the stream is known by the entry's bytes alone.
///
/// **Privacy.** The workspace is closed to everybody but its user (mode 0700). An existing one must
/// be a folder of the user's, not a link; links in it are neither followed nor streams. Of an
/// encrypted compound file, it holds plain bytes. Give the password through a CompoundFile opened
/// on the same path.
///
/// **Files in use** by an open compound file, in this program or another, are never replaced.
///
/// **One folder, one source.** Two sources, in one process or in two, must not work in one folder
/// at the same time, which nothing prevents where both only read the compound file or share it in
/// one process: what one of them closes is gone for the other.
///
/// **Copies** of a source share the workspace, its state (Open makes all of them clean), and the
/// handle's one reference (see CompundFileBase); only whether they are read only, and the open
/// mode, are each copy's own.
///
/// **Failure.** Operations answer with an Error, false or null. A failed save leaves the source
/// open and dirty, and everything in the workspace. Once the compound file has failed, it has to be
/// opened anew before the next attempt: Open (ExistingWorkspace), SetIsDirty(true, nullptr), and
/// the deletions again. Only the operations that say so throw.
///
/// **Threads** as in KrStreamSource; the operations that return what is stored (names, IsDirty,
/// IsReadOnly, GetOpenMode) do not wait for the lock. Ask them while no other thread sets what they
/// return; IsDirty may be asked at any time.
class TALVOKRSTREAM_EXPORT CompoundFileStreamSource : public CompundFileBase {
public:
    /// Results of operations.
    enum Error : std::int32_t {
        NoError = 0,
        /// Not used by any operation.
        TempDirAlreadyExists = 1,
        /// Not used by any operation.
        CouldNotCreateTempDir = 2,
        /// The compound file could not be opened, or is not open for writing.
        CouldNotOpenCompoundFile = 3,
        /// A stream could not be read from, or written to, a compound file.
        CompoundFileCorrupt = 4,
        TempDirDoesNotExist = 5,
        CouldNotDeleteTempDir = 6,
        /// A file or folder could not be made, read or replaced.
        FileSystemError = 7
    };

    /// What Open does about the workspace.
    enum OpenMode : std::int32_t {
        /// Makes the workspace folder when it is missing.
        NewWorkspace = 0,
        /// Takes up a workspace that is there.
        ExistingWorkspace = 1,
        /// The mode of a source that was never opened.
        NotOpened = 3
    };

    /// Every value but SaveChanges discards.
    enum CloseMode : std::int32_t { SaveChanges = 0, DiscardChanges = 1 };

    /// A closed source for the compound file and the workspace folder at two paths, which are
    /// copied. Touches nothing on disk.
    CompoundFileStreamSource(const char* compoundFileName, const char* directoryName);
    /// Shares what the other has open; see Copies above.
    CompoundFileStreamSource(const CompoundFileStreamSource&);
    /// Shares what the other has open; what this one has is neither saved nor closed.
    CompoundFileStreamSource& operator=(const CompoundFileStreamSource&);
    /// Neither saves nor removes the workspace; lets go of the compound file.
    ~CompoundFileStreamSource() override;

    /// Lets go of what is open, unsaved changes staying in their workspace, then opens the compound
    /// file, which is created when it is missing (read only, too), and the
    /// workspace. Nothing is copied out yet, and files that the
    /// workspace holds stay. Afterwards the source is clean, and
    /// both names are canonical, the folder's with a separator at its end; after a failure too.
    ///
    /// CouldNotOpenCompoundFile, where a folder just made stays; TempDirDoesNotExist
    /// (ExistingWorkspace only; the compound file stays open, and may be opened again);
    /// FileSystemError when the folder cannot be made, its parent being missing, say,
    /// is not a folder of the user's own, or holds the compound file itself. A source that could
    /// not be opened has no files, and touches none. Temporary names outlast a further Open, until
    /// Close. Costs what CompoundFile::Open costs.
    Error Open(OpenMode mode, bool readOnly);

    /// Saves the workspace as CopyToBlockFile(full) does, if `mode` is SaveChanges and the source
    /// is dirty; then removes the workspace folder with everything in it (unless Open has not
    /// succeeded), and closes the compound file. If anything was saved since Open, the file is
    /// sent to the disk (fsync) before the workspace goes, so that a power loss costs none of it.
    /// When saving or that fails, its result is returned (CompoundFileCorrupt for the latter) and
    /// nothing else was done. When the folder cannot be removed: CouldNotDeleteTempDir, with the
    /// file still open, what is left of the folder marked for PreviousDeleteOfTempDirUnsuccessfull.
    /// Throws as CopyToBlockFile does.
    Error Close(CloseMode mode, bool full);

    /// Writes workspace files into the compound file. Destroy streams for writing first: what they
    /// still hold is not saved.
    ///
    /// With `full` false: deletes the entries of deleted streams, then writes every file that was
    /// changed since it was copied out or last saved, temporary streams excepted. A file that
    /// ExtractAllFiles made counts as changed. The cost is that of the bytes written and of one
    /// walk over the workspace. With `full` true: writes every file, temporary streams too, and
    /// deletes nothing, though the source is clean afterwards; meant for a compound file that is
    /// still empty.
    ///
    /// CouldNotOpenCompoundFile for a read-only, closed or failed source; CompoundFileCorrupt when
    /// an entry cannot be written, as on a full disk; FileSystemError when a file cannot be read,
    /// or two differ only in case. After an error the entries written so far stay, and the others
    /// are as they were; the one being written may be cut short in the compound file, and is whole
    /// in the workspace. On success the source is clean, and everything has been handed to the
    /// operating system. Throws boost::filesystem::filesystem_error when the folder cannot be
    /// listed.
    Error CopyToBlockFile(bool full);

    /// Writes all streams into a new compound file at `path`, where a temporary one is as it was
    /// last saved, if ever; the copy of an encrypted file is encrypted under the same password. A
    /// file that is there is removed first, and its permission bits are taken over. The source goes
    /// on with its own compound file, which is not written, but counts as clean. Streams that are
    /// not in the workspace stay out of it: GetIStream, which is asked for each of them, hands out
    /// their entries meanwhile.
    ///
    /// With everything as it was: CouldNotOpenCompoundFile for a closed or failed source;
    /// CompoundFileCorrupt while the password is missing; FileSystemError when `path` is in use (by
    /// this process, also in another letter case), may not be read, is no regular file or leads
    /// into the workspace, when the old file cannot be removed, or when two files differ only in
    /// case. CouldNotOpenCompoundFile when the new file cannot be made; CompoundFileCorrupt when a
    /// stream cannot be had or cannot be written, FileSystemError when reading its file fails: what
    /// was written so far then stays at `path`.
    Error SaveAs(const char* path);

    /// The bytes that compaction would free after the next save, an estimate; 0 for none, and for a
    /// source that cannot be compacted. Throws boost::filesystem::filesystem_error when the folder
    /// cannot be listed. Costs a walk over the directory, the blocks in use, and the workspace.
    std::uint64_t GetUnUsedFileSpace() const;

    /// Rewrites the compound file without unused blocks, pending changes included: saves a fresh
    /// copy beside it (dravoptmpA.kdp and so on to Y), closes the source, puts the copy in its
    /// place, and opens the source again with an empty workspace. Temporary streams are gone
    /// afterwards, and an encrypted file needs its password again. The copy is on disk before the
    /// old file is removed, so that a crash at any moment leaves a whole file under the old name or
    /// that of the copy.
    ///
    /// Does nothing on a source that is closed, has failed, or is read only. Otherwise throws an
    /// Exception when it fails: "The file could not be compacted." while another handle or a stream
    /// has the file open; "Temporary file name could not be generated."; "The file could not be
    /// copied."; "The old file could not be closed."; "The compacted file could not be opened.";
    /// "The temporary file could not be renamed.", where the message names the copy if the source
    /// could be opened on it. Where changes were not saved and the copy was made, it is left: it
    /// may be the only place that has them. Also throws boost::filesystem::filesystem_error when
    /// the file's folder or the workspace cannot be listed.
    void CompactCompoundFile();

    /// Copies every stream out that has no file yet. Entries that cannot be files stay where they
    /// are. False when an entry cannot be read or its file cannot be written. The files count as
    /// changed: once the source is dirty, the next save writes all of them, whether the application
    /// edited them or not. Throws boost::locale::conv::conversion_error when a name of a file of
    /// format version 1 is no text of its code page.
    bool ExtractAllFiles() const;

    /// Removes the workspace folder, if it is one of the user's own and does not hold the compound
    /// file, and everything in it. False
    /// when it cannot be removed; then it is left marked for PreviousDeleteOfTempDirUnsuccessfull,
    /// which makes the source dirty.
    bool DeleteDirectory();

    /// Sets whether the workspace differs from the compound file. With a name, the next save writes
    /// that stream's file, whoever changed it, unless it is a temporary one; `name` may be null.
    void SetIsDirty(bool dirty, const char* name);
    /// Whether the workspace differs from the compound file, as far as the source was told.
    bool IsDirty() const;
    /// Whether saving is refused; nothing else is.
    void SetIsReadOnly(bool readOnly);
    /// What Open or SetIsReadOnly said last; false before.
    bool IsReadOnly() const override;
    /// The mode of the last successful Open; NotOpened before.
    OpenMode GetOpenMode() const;

    /// The workspace folder from the next Open on. The name is copied; null counts as empty.
    void SetDirectoryName(const char* directoryName);
    /// The compound file from the next Open on. The name is copied; null counts as empty.
    void SetCompoundFileName(const char* compoundFileName);
    /// The workspace folder; valid until the name changes.
    const char* GetDirectoryName() const;
    /// The compound file's path as the source knows it.
    std::string GetCompoundFileName() const override;
    /// GetCompoundFileName.
    std::string GetStreamFileName() const override;
    /// GetCompoundFileName.
    virtual std::string GetOriginalPath() const;

    /// The stream's length in bytes: that of its file, or of its entry when there is no file; 0
    /// when there is no such stream. Costs a walk over the directory for an entry.
    unsigned long long GetStreamSize(const char* name) const;

    /// The file is removed at once, the entry by the next save. A stream that is deleted and then
    /// opened with GetIOStream before a save comes back as it was last saved.
    void DeleteSource(const char* name) override;
    /// Always false for a name that makes, with the folder's name, 260 bytes or more.
    bool StreamExists(const char* name) const override;
    /// The file, mapped into memory. While SaveAs or compaction asks, a stream without a file is
    /// read from its entry.
    std::unique_ptr<std::istream> GetIStream(const char* name) override;
    /// The file itself. On success the source is dirty.
    std::unique_ptr<std::iostream> GetIOStream(const char* name) override;
    /// A new, empty file, in the place of the one that is there: streams that read the old one go
    /// on reading it, and what a stream directory has still to write to the old one is dropped. On
    /// success the source is dirty.
    std::unique_ptr<std::ostream> GetOStream(const char* name) override;
    /// Temporary streams have files in the workspace, but make nothing dirty and are not saved; a
    /// stream becomes an ordinary one when it is opened with GetIOStream or GetOStream. That a
    /// stream was deleted is forgotten with its temporary file, as with any other.
    std::unique_ptr<std::iostream> GetTempIOStream(const char* name) override;
    std::unique_ptr<std::ostream> GetTempOStream(const char* name) override;
    /// The names of the workspace's files, temporary ones included, and of the entries that are not
    /// deleted, the record of free blocks included; each stream once, as its file is spelled.
    /// Throws boost::filesystem::filesystem_error when the folder cannot be listed.
    std::shared_ptr<const std::set<std::string>> GetFileNames() const override;
    /// DeleteDirectory.
    bool CleanUp() override;
    /// Always null.
    std::unique_ptr<KrStreamSource> GetStreamSource(const char* name) const override;
    /// Close(SaveChanges, false); the result is lost. Throws as that does.
    void CloseFile() override;

    /// The path of a workspace in `baseFolder` for `key`, the same for the same two: "_SP_" and the
    /// MD5 digest of the key. Touches nothing on disk. A good key is the compound file's canonical
    /// path; a good base folder one in which others cannot make files.
    static std::string GetTempFolderName(const char* baseFolder, const char* key);

    /// Whether the folder holds the file "CouldNotDelete", which is left where a workspace could
    /// not be removed.
    static bool PreviousDeleteOfTempDirUnsuccessfull(const char* directory);

    /// A result in words, "Unknown error" for a value that is none.
    static std::string ToString(Error error);

private:
    struct State;
    using NameSet = std::set<std::string>;

    Error Bind(OpenMode mode);
    bool ExtractFile(const char* name) const;
    void CollectLegacyNames();

    /// The stream that a name stands for.
    std::string StreamOf(const std::string& name) const;
    /// The name of a stream's file where none is there yet.
    std::string FileNameOf(const std::string& stream) const;
    bool CanBeFile(const std::string& stream) const;
    /// The name of a stream's file.
    std::optional<std::string> FindFile(const std::string& stream) const;
    /// Whether the compound file has a stream that is not deleted.
    bool HasEntry(const std::string& stream) const;
    std::shared_ptr<NameSet> BuildCurrentFileSet() const;
    template <typename Stream>
    std::unique_ptr<Stream> Changing(const std::string& stream, std::unique_ptr<Stream> opened);
    template <typename Request>
    auto Temporary(const char* name, Request request) -> decltype(request());

    /// Whether an incremental save leaves a file out.
    bool IsLeftOut(const std::string& file) const;
    /// Whether two names differ in nothing but letter case, so that a compound file could take only
    /// one of them.
    bool HaveTwins(const NameSet& names) const;
    void DeleteEntries();
    Error SaveAllFiles(const NameSet& files);
    Error SaveChangedFiles(const NameSet& files);
    Error SaveFile(const std::string& file);
    /// SaveAs; `toBeSynced` where the copy has to reach the disk before anything else is done.
    Error SaveCopy(const char* path, bool toBeSynced);
    Error CopyStreams(CompoundFile& target, const NameSet& streams, bool toBeSynced);
    static Error CopyToBlockFile(CompoundFile& target, std::istream& in, const char* name);

    bool CanBeCompacted() const;
    bool HasChanges() const;
    void CopyForCompaction(const std::string& copy);
    void PutCopyInPlace(const std::string& copy, bool hadChanges);
    [[noreturn]] void ReopenUncompacted(const std::string& copy, bool oldIsGone);

    std::shared_ptr<State> state_;
    bool readOnly_ = false;
    OpenMode openMode_ = NotOpened;
};
