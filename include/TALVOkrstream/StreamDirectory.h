#pragma once

#include <TALVOkrstream/Export.h>

#include <array>
#include <cstdint>
#include <iosfwd>

/// Writes several sub-streams, each under a number, one after the other to one stream, behind a
/// directory of where each of them begins. The directory has a fixed number of slots; a placeholder
/// is written first, and filled in at the end. docs/records.md shows the bytes.
///
/// **What the caller must see to:**
/// - Each ID is used once, and IDs come in ascending order. Out of order, an ordinary stream gets
///   its directory sorted, but positions that move keep their low 16 bits only; a file stream of a
///   CompoundFileStreamSource gets it unsorted, so that readers do not find every ID. With one ID
///   twice, Close on an ordinary stream never returns.
/// - There are no more sub-streams than slots; readers refuse a directory with more.
/// - The stream can be positioned, and outlives this object, unless Close was called before.
///
/// A failure shows in the stream's state alone; a stream that has failed is not touched any more.
/// Nothing throws but a stream whose exceptions the caller armed, and Close, for memory, on a file
/// stream of a CompoundFileStreamSource. One thread at a time.
class TALVOKRSTREAM_EXPORT OutputStreamDirectory {
public:
    /// The most slots that a directory may have.
    static constexpr unsigned short kMaxSlots = 80;

    /// Writes the placeholder at the stream's position. More than kMaxSlots slots are refused:
    /// failbit, and the directory has none.
    OutputStreamDirectory(std::ostream& os, unsigned short slots);
    /// Close; what that throws is lost.
    ~OutputStreamDirectory();
    OutputStreamDirectory(const OutputStreamDirectory&) = delete;
    OutputStreamDirectory& operator=(const OutputStreamDirectory&) = delete;

    /// Begins a sub-stream at the stream's position, and returns the stream to write it to. A
    /// sub-stream that got no bytes is replaced by the next one. The 81st sets failbit and is not
    /// recorded.
    std::ostream& GetOutput(unsigned short id);

    /// Writes the directory, and leaves the stream at its end. A last sub-stream is left out if it
    /// begins where the low 32 bits of the end say: one without bytes below 4 GiB, but also one of
    /// just 4 GiB, or a multiple, that begins below. In a file stream of a CompoundFileStreamSource
    /// the directory is filled in when the stream is destroyed, without seeking back, if its file
    /// is still there. A second Close does nothing, and sub-streams begun after the first are not
    /// recorded. A stream that is not good gets failbit: its placeholder stays, which readers take
    /// for a directory of empty sub-streams with the ID 0.
    void Close();

private:
    void WriteDirectory(std::ostream& os, std::uint64_t end) const;
    void SortOffsets();

    std::uint64_t directoryPosition_ = 0;
    std::ostream* stream_;
    bool closed_ = false;
    std::uint16_t count_ = 0;
    std::uint16_t capacity_;
    std::array<std::uint64_t, kMaxSlots> starts_{};
    std::array<std::uint16_t, kMaxSlots> ids_{};
};

/// Reads such a directory and finds the sub-streams. Failures are failbit on the stream, and a
/// false or null result; a stream whose exceptions the caller armed throws besides. Costs nothing
/// but the directory's bytes; a directory's claims size nothing.
///
/// Copies refer to the same stream, which has to outlive all of them that are open; each moves it
/// to the end when it is closed or destroyed. One thread at a time.
class TALVOKRSTREAM_EXPORT InputStreamDirectory {
public:
    /// Opens the directory at the stream's position; without success the object is not open.
    /// Throws an Exception, "The file was written with a newer version of the software and can not
    /// be read by this version.", for a format version above 2.
    explicit InputStreamDirectory(std::istream& is);
    /// Refers to the same stream, open if the other is.
    InputStreamDirectory(const InputStreamDirectory&);
    /// Refers to the same stream, open if the other is; the stream held so far is let go of where
    /// it stands.
    InputStreamDirectory& operator=(const InputStreamDirectory&);
    /// Close.
    ~InputStreamDirectory();

    /// As the constructor, for an object that is not open; false, with nothing read, for one that
    /// is. False also for what is no directory, is cut short, or claims more than 80 slots or more
    /// sub-streams than slots. Throws as the constructor does, and stays not open.
    bool Open(std::istream& is);

    /// The stream, positioned at the beginning of the sub-stream `id`. Null when there is no such
    /// sub-stream, nothing is open, or the stream has any state flag set: who has read to the
    /// stream's end clears that first. Nothing says where a sub-stream ends. IDs are found by
    /// binary search, so a directory that was written out of order hides some.
    std::istream* GetInput(unsigned short id);

    /// Leaves the stream at the end of the last sub-stream and lets go of it.
    void Close();

private:
    bool Read(std::istream& is);
    bool CheckMagicString(std::istream& is);
    bool ReadOffsetIDVector(std::istream& is);
    bool ReadPositions(std::uint64_t* positions, std::size_t count, std::istream& is) const;

    std::istream* stream_ = nullptr;
    std::uint64_t end_ = 0;
    std::uint16_t count_ = 0;
    std::array<std::uint16_t, OutputStreamDirectory::kMaxSlots> ids_{};
    std::array<std::uint64_t, OutputStreamDirectory::kMaxSlots> starts_{};
    bool open_ = false;
    std::uint16_t version_ = 1;
};
