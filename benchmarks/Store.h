#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/// A way of keeping many named byte streams in one place, as far as the workloads ask for it.
/// Every operation throws std::runtime_error when it fails, a read or write of fewer bytes than
/// asked for included.
class Store {
public:
    enum class Mode {
        /// A new, empty store; nothing lies at its path.
        Create,
        /// An existing store, to be read and changed.
        Change,
        /// An existing store, to be read only.
        Read
    };

    /// Takes the bytes of one stream in order. Close ends the stream; a writer that is destroyed
    /// without it leaves an unspecified stream.
    class Writer {
    public:
        Writer() = default;
        virtual ~Writer() = default;
        Writer(const Writer&) = delete;
        Writer& operator=(const Writer&) = delete;
        virtual void Write(const char* bytes, std::size_t count) = 0;
        virtual void Close() = 0;
    };

    /// Gives the bytes of one stream, in order or from anywhere.
    class Reader {
    public:
        Reader() = default;
        virtual ~Reader() = default;
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;
        /// The next bytes.
        virtual void Read(char* bytes, std::size_t count) = 0;
        virtual void ReadAt(std::uint64_t offset, char* bytes, std::size_t count) = 0;
    };

    Store() = default;
    virtual ~Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    virtual void Open(const std::string& path, Mode mode) = 0;
    /// Hands everything that was written to the operating system.
    virtual void Close() = 0;
    /// A stream that is new, or that replaces the one of this name; `size` bytes will be written to
    /// it. One writer lives at a time.
    virtual std::unique_ptr<Writer> Write(const std::string& name, std::uint64_t size) = 0;
    virtual std::unique_ptr<Reader> Find(const std::string& name) = 0;
    /// Visits every stream's name.
    virtual void List(const std::function<void(const char* name)>& visit) = 0;
};

/// A kind of store that takes part in the comparison.
struct Contender {
    std::string name;
    /// The version of the library. Asked for only to be printed, for some libraries wake up for it.
    std::string (*version)();
    std::unique_ptr<Store> (*make)();
    /// Whether a stream of an existing store can be replaced.
    bool canChange = true;
};
