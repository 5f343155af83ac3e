#pragma once

#include <TALVOkrstream/CompoundFile.h>
#include <TALVOkrstream/Export.h>
#include <TALVOutl/Strings.h>

#include <cstdint>
#include <ios>
#include <iosfwd>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace boost::iostreams {
struct seekable_device_tag;
}

/// Where an application gets its byte streams by name, without knowing where they live: straight
/// inside a compound file (PureCompoundFileStreamSource), in memory (MemCompoundFileStreamSource),
/// or in a working folder (CompoundFileStreamSource).
///
/// **Streams** are handed out to be owned by the caller, as binary standard streams. Destroying one
/// completes it; do so before the source is closed or saved. A stream that cannot be had is null;
/// asking never throws. Errors while reading and writing show in the stream's state.
///
/// **Names** are bytes, 1 to 256 of them, without NUL; letters A to Z are the same stream in either
/// case. A null or empty name is like one that does not exist.
///
/// **Threads.** Every operation of every source of the process runs under one recursive lock, so
/// sources may be shared between threads. A stream, once handed out, is used without that lock: it
/// belongs to one thread at a time, and so do all streams that live in one compound file together.
class TALVOKRSTREAM_EXPORT KrStreamSource {
public:
    KrStreamSource();
    /// There is nothing to copy; each class says what its copies share.
    KrStreamSource(const KrStreamSource&);
    /// There is nothing to copy.
    KrStreamSource& operator=(const KrStreamSource&);
    virtual ~KrStreamSource();

    /// Deletes a stream. Nothing happens when there is none, or the source is read only.
    virtual void DeleteSource(const char* name) = 0;
    /// Whether there is a stream of this name.
    virtual bool StreamExists(const char* name) const = 0;
    /// A stream for reading, from the beginning; null when there is none of this name.
    virtual std::unique_ptr<std::istream> GetIStream(const char* name) = 0;
    /// An existing stream for reading and writing, positioned at its beginning and not emptied.
    virtual std::unique_ptr<std::iostream> GetIOStream(const char* name) = 0;
    /// Tidies up what the source keeps beside the compound file; true when something was there to
    /// tidy up and is gone.
    virtual bool CleanUp() = 0;
    /// The source behind `name`, where a source can lead to others; null otherwise.
    virtual std::unique_ptr<KrStreamSource> GetStreamSource(const char* name) const = 0;
    /// As GetIOStream, for a stream that the application needs for a while only.
    virtual std::unique_ptr<std::iostream> GetTempIOStream(const char* name) = 0;
    /// As GetOStream, for a stream that the application needs for a while only.
    virtual std::unique_ptr<std::ostream> GetTempOStream(const char* name) = 0;
    /// A stream for writing that starts empty, made when there is none of this name.
    virtual std::unique_ptr<std::ostream> GetOStream(const char* name) = 0;
    /// The names of all streams, in a set of the caller's, never null. (Keep the pointer while
    /// walking the set: `for (name : *source.GetFileNames())` walks one that is gone.) Time of a
    /// walk over the directory.
    virtual std::shared_ptr<const std::set<std::string>> GetFileNames() const = 0;
    /// The name under which the user knows the streams' file.
    virtual std::string GetStreamFileName() const = 0;
    /// The path of the compound file on disk; empty when there is none.
    virtual std::string GetFilePath() const = 0;
    /// Whether the source refuses to change its compound file.
    virtual bool IsReadOnly() const = 0;
    /// The name of the compound file.
    virtual std::string GetCompoundFileName() const = 0;
    /// Closes the source, saving what has to be saved; whether that went well is not reported.
    virtual void CloseFile() = 0;
};

/// What every source that keeps its streams in one compound file has in common: the handle.
///
/// Copies of a source share the handle's one reference, as copies of a handle do: the first of them
/// to be closed or destroyed gives it back, and the others are then sources without a file.
/// Assigning over an open source does not close its file: close it first.
class TALVOKRSTREAM_EXPORT CompundFileBase : public KrStreamSource {
public:
    /// Without a file.
    CompundFileBase();
    /// Shares the other's reference, as said above.
    CompundFileBase(const CompundFileBase&);
    /// Shares the other's reference; the file held so far is not closed.
    CompundFileBase& operator=(const CompundFileBase&);
    /// Closes the handle.
    ~CompundFileBase() override;

    /// The open file's canonical path; empty for a closed source and for a caller's stream.
    std::string GetFilePath() const override;
    /// GetFilePath.
    std::string GetCompoundFileName() const override;

protected:
    /// Mutable because a handle counts the opening of an entry, for reading too, as a change.
    mutable CompoundFile compoundFile_;
};

/// A source whose streams are the entries of one open compound file: what is written is in the file
/// as soon as its stream is destroyed. Streams behave, fail and cost as CompoundFile::GetIOStream
/// says. To learn whether everything could be written, open a CompoundFile on the same path: it
/// joins this source's open file, and has its status.
class TALVOKRSTREAM_EXPORT PureCompoundFileStreamSource : public CompundFileBase {
public:
    /// A source without a file.
    PureCompoundFileStreamSource();
    /// Shares the other's file; see CompundFileBase.
    PureCompoundFileStreamSource(const PureCompoundFileStreamSource&);
    /// Shares the other's file; the file held so far is not closed.
    PureCompoundFileStreamSource& operator=(const PureCompoundFileStreamSource&);
    /// Closes the source.
    ~PureCompoundFileStreamSource() override;

    /// Opens the compound file at `path` as CompoundFile::Open does, which creates it when it is
    /// missing, read only too; a file that is open is closed first. Whether `readOnly` is kept, and
    /// with it IsReadOnly, even when opening fails. False when the file cannot be opened.
    bool Open(const char* path, bool readOnly);
    /// Opens a caller's stream as a new, empty compound file, whatever it holds; the source is
    /// writable. The caller keeps the stream alive. False when it cannot be opened.
    bool Open(std::shared_ptr<std::iostream> stream);
    /// Opens the compound file in a caller's stream; the source is writable, whatever
    /// `callerKeepsStream` says. That flag is the handle's: with false the source shares ownership
    /// of the stream while it is open. False when it cannot be opened.
    bool Open(std::shared_ptr<std::iostream> stream, bool callerKeepsStream);
    /// Closes the file, once the streams in it are gone too. A closed source has no streams.
    void Close();
    /// The bytes of the whole compound file; empty when it is read only or has failed. Reads the
    /// file once, into memory.
    std::string FlushToString();

    /// Deletes the entry as CompoundFile::DeleteCFFile does; whether that went well is not
    /// reported.
    void DeleteSource(const char* name) override;
    /// CompoundFile::Exists.
    bool StreamExists(const char* name) const override;
    /// A stream on the entry; it needs the password of an encrypted file.
    std::unique_ptr<std::istream> GetIStream(const char* name) override;
    /// Null also for a read-only source, like all the writable forms.
    std::unique_ptr<std::iostream> GetIOStream(const char* name) override;
    /// Does nothing: false.
    bool CleanUp() override;
    /// A new source on the compound file at the path `name`, read only if this source is; closed
    /// when that cannot be opened.
    std::unique_ptr<KrStreamSource> GetStreamSource(const char* name) const override;
    /// Temporary streams are entries like any other here: delete them when they are done with.
    std::unique_ptr<std::iostream> GetTempIOStream(const char* name) override;
    /// As GetOStream; see GetTempIOStream.
    std::unique_ptr<std::ostream> GetTempOStream(const char* name) override;
    /// The entry is made, or made anew, at once. Null for a read-only source.
    std::unique_ptr<std::ostream> GetOStream(const char* name) override;
    /// All entries, the record of free blocks included; empty for a closed source.
    std::shared_ptr<const std::set<std::string>> GetFileNames() const override;
    /// The file's canonical path, as GetFilePath.
    std::string GetStreamFileName() const override;
    /// What the last Open said; false before.
    bool IsReadOnly() const override;
    /// Close.
    void CloseFile() override;

private:
    enum class Lifetime { Lasting, Temporary };

    std::unique_ptr<std::iostream> OpenForWriting(const char* name, const char* mode,
                                                  Lifetime lifetime);

    bool readOnly_ = false;
    /// Entries handed out as temporary and not as ordinary ones since.
    std::set<std::string, KrStdString::LessNoCase> temporaryNames_;
};

/// A seekable device over a container of bytes, in the sense of Boost.Iostreams (include
/// <boost/iostreams/stream.hpp> to make a stream of it). The container belongs to the caller and
/// must outlive the device and its copies; each copy has a position of its own, which begins at 0
/// and is never beyond the container's end as long as only the device changes the container.
/// Instantiated for std::vector<char>.
template <typename Container>
class KrContainerDevice {
public:
    /// What a device of Boost.Iostreams has to name.
    using char_type = char;
    /// Read, write and seek, with one position for both.
    using category = boost::iostreams::seekable_device_tag;

    /// A device over `container`, at its beginning.
    explicit KrContainerDevice(Container& container);

    /// Copies up to `n` bytes from the position, and moves on; -1, for the end, when there are none
    /// or `n` is 0.
    std::streamsize read(char* bytes, std::streamsize n);
    /// Overwrites what there is from the position on and appends the rest. Returns `n`. Throws
    /// std::bad_alloc or std::length_error, with the container as it was, when it cannot grow.
    std::streamsize write(const char* bytes, std::streamsize n);
    /// Moves, and returns the new position. From the end, offset 0 is the last byte, one short of
    /// what standard streams do: their end is offset 1 here. Throws std::ios_base::failure, "bad
    /// seek offset" for a target outside of 0 to the container's size, "bad seek direction" for no
    /// direction.
    std::int64_t seek(std::int64_t offset, std::ios_base::seekdir direction);

private:
    Container* container_;
    std::int64_t position_ = 0;
};

extern template class TALVOKRSTREAM_EXPORT KrContainerDevice<std::vector<char>>;

/// A source whose compound file is in memory: a new project that has no file yet. Its streams are
/// entries, as in PureCompoundFileStreamSource; Save writes the whole file to disk. Not copyable.
class TALVOKRSTREAM_EXPORT MemCompoundFileStreamSource : public PureCompoundFileStreamSource {
public:
    /// A closed source with a name: "In-memory-project-" and the local time as twelve digits, year
    /// to second. Two sources of one second have the same name.
    MemCompoundFileStreamSource();
    MemCompoundFileStreamSource(const MemCompoundFileStreamSource&) = delete;
    MemCompoundFileStreamSource& operator=(const MemCompoundFileStreamSource&) = delete;
    /// Closes the source; nothing is saved. Streams must be gone by then.
    ~MemCompoundFileStreamSource() override;

    /// Begins a new compound file; when that fails, the source is closed. A second call begins anew
    /// over the bytes of the first, and what it has not covered yet is still written by Save: take
    /// a new source for a new project.
    void Open();

    /// Writes the compound file to `path`, replacing what is there: a link is followed, permission
    /// bits stay. Destroy all streams first, and call Close before for a file that is complete to
    /// its record of free blocks; without Close it opens all the same, but slower, and what was
    /// deleted since the last stream was written is still in it.
    ///
    /// False when the file cannot be opened, is no regular file, or is in use by a compound file
    /// that is open, here or in another program; then it is left as it was. An error later on, such
    /// as a full disk, is not reported: where that matters, open the file and check. Takes no lock:
    /// no other thread may use the source meanwhile. Costs one pass over the bytes.
    bool Save(const char* path);

    /// The name.
    std::string GetStreamFileName() const override;
    /// The name.
    std::string GetCompoundFileName() const override;
    /// Empty: there is no file on disk.
    std::string GetFilePath() const override;

private:
    std::vector<char> buffer_;
    std::shared_ptr<std::iostream> stream_;
    std::string name_;
};
