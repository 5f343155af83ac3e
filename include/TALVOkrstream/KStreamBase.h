#pragma once

#include <TALVOkrstream/Export.h>
#include <TALVOutl/Exception.h>

#include <iosfwd>
#include <memory>
#include <string>

/// The head of a record: a magic string that says what follows, and the version of its layout.
///
/// On the stream: the magic's length in four bytes and its characters, then the version in two
/// bytes, all little-endian. Reading and writing report failure by their result and the stream's
/// state; they throw only what a stream throws whose exceptions the caller armed, and
/// std::bad_alloc for a magic that a stream delivers and memory cannot hold. A value like any
/// other: one thread at a time.
class TALVOKRSTREAM_EXPORT KStreamableData {
public:
    /// A head for writing `version`; `magic` is copied, and not null. The version read is 0 until
    /// Check has read one. Throws std::bad_alloc.
    KStreamableData(short version, const char* magic);
    /// Copies magic, version and version read.
    KStreamableData(const KStreamableData&);
    /// As copying; the other's magic is unspecified from then on.
    KStreamableData(KStreamableData&&) noexcept;
    /// Copies magic, version and version read.
    KStreamableData& operator=(const KStreamableData&);
    /// As copying; the other's magic is unspecified from then on.
    KStreamableData& operator=(KStreamableData&&) noexcept;
    ~KStreamableData();

    /// Writes magic and version. True when the stream is good afterwards.
    bool Write(std::ostream& os) const;

    /// Reads a head. True when it has this magic and its version could be read, which
    /// GetKStreamVersionNumber tells from then on; whether it is a version that can be dealt with
    /// is for the caller to say. False otherwise, with the stream behind what was read: after
    /// another magic, before the version. A magic may claim any length; no more memory is taken
    /// than the stream delivers.
    bool Check(std::istream& is);

    /// The magic, until the object is changed or gone.
    const char* GetMagicString() const;
    /// The version that the last successful Check has read.
    short GetKStreamVersionNumber() const;
    /// The version that is written.
    short GetMyKStreamVersionNumber() const;

private:
    short myVersion_;
    std::string magic_;
    short version_ = 0;
};

/// Base of classes whose objects write themselves to streams and read themselves back, behind one
/// head that all of them share: the magic "KSB", version 1.
///
/// A derived class overrides the two start operations: each calls that of its base, then writes or
/// reads what is its own. However often the base's is reached within one pass, the head appears
/// once. The stream operators make one pass.
///
/// **Threads.** The version read is one for the whole process: read objects of these classes in one
/// thread at a time. A pass marks its object: one thread at a time for one object, writing too.
class TALVOKRSTREAM_EXPORT KStreamBase {
public:
    KStreamBase();
    /// The copy is in no pass, even if the other object is in one.
    KStreamBase(const KStreamBase&);
    /// Takes over whether the other object is in a pass.
    KStreamBase& operator=(const KStreamBase&);
    virtual ~KStreamBase();

    /// Begins a pass and writes the head; within a pass does nothing. True in that case, and when
    /// the stream is good afterwards.
    virtual bool KStreamableStartWrite(std::ostream& os) const;
    /// Begins a pass and reads the head as KStreamableData::Check does; within a pass does nothing,
    /// and is true.
    virtual bool KStreamableStartRead(std::istream& is);
    /// Ends the pass.
    virtual void KStreamableReset() const;

    /// The version that is written: 1.
    short GetMyKStreamVersionNumber() const;
    /// The version that was last read by any object in the process; 0 before.
    short GetKStreamVersionNumber() const;

protected:
    /// A KStreamableData of the base's own.
    class DerivedStreamableData : public KStreamableData {
    public:
        using KStreamableData::KStreamableData;
    };
    /// The head that all objects share.
    static DerivedStreamableData MyStreamableData;

    /// Writes what is the class's own: for derived classes to hide; here it does nothing, and is
    /// true.
    bool KStreamableWrite(std::ostream& os) const;
    /// Reads what is the class's own, likewise.
    bool KStreamableRead(std::istream& is);

private:
    /// A pass changes nothing of the object that is written.
    mutable bool started_ = false;
};

/// Writes an object in a pass of its own; failbit when that fails.
TALVOKRSTREAM_EXPORT std::ostream& operator<<(std::ostream& os, const KStreamBase& object);
/// Reads an object in a pass of its own; failbit when that fails, for another magic, say.
TALVOKRSTREAM_EXPORT std::istream& operator>>(std::istream& is, KStreamBase& object);

/// A shorter head: the magic's length in two bytes, its characters, the version in two bytes, all
/// little-endian. Any thread, one at a time for one stream; throws as KStreamableData does.
class TALVOKRSTREAM_EXPORT KStreamLight {
public:
    /// Writes a head. `magic` is at most 65,535 characters long; of the length of a longer one the
    /// low 16 bits are written. True when the stream is good afterwards.
    static bool WriteMagicStringAndVersionNumber(std::ostream& os, unsigned short version,
                                                 const char* magic);

    /// Reads a head. True when it has just this magic and its version could be read to `version`,
    /// which is for the caller to judge. False otherwise, `version` unchanged and the stream behind
    /// the bytes compared so far.
    static bool CheckMagicStringAndVersionNumber(std::istream& is, unsigned short& version,
                                                 const char* magic);
};

/// An error that programs may throw about their records; the library itself does not.
class TALVOKRSTREAM_EXPORT KrStreamError : public Exception {
public:
    /// An error without a text.
    KrStreamError();
    /// Finishes `message` under the global locale of this moment.
    explicit KrStreamError(const ExceptionMessage& message);
    /// Copies the text.
    KrStreamError(const KrStreamError&);
    /// Copies the text.
    KrStreamError& operator=(const KrStreamError&);
    ~KrStreamError() override;

    /// A copy, of the derived class where that overrides this. Throws std::bad_alloc.
    virtual std::unique_ptr<KrStreamError> Clone() const;
};
