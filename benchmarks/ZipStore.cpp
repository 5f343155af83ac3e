#include "benchmarks/Contenders.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <zip.h>

namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(std::string("libzip: ") + what);
    }
}

template <auto close>
struct Closer {
    template <typename T>
    void operator()(T* object) const {
        close(object);
    }
};
using Archive = std::unique_ptr<zip_t, Closer<zip_discard>>;
using File = std::unique_ptr<zip_file_t, Closer<zip_fclose>>;
using Source = std::unique_ptr<zip_source_t, Closer<zip_source_free>>;
using Buffer = std::unique_ptr<char, Closer<std::free>>;

/// Collects an entry. The library asks for the bytes of all entries when the archive is closed, and
/// somebody has to hold them until then; so the archive takes over the only copy.
class EntryWriter : public Store::Writer {
public:
    EntryWriter(zip_t* archive, std::string name, std::uint64_t size)
        : archive_(archive),
          name_(std::move(name)),
          size_(size),
          buffer_(static_cast<char*>(std::malloc(size))) {
        Require(buffer_ != nullptr, "memory");
    }

    void Write(const char* bytes, std::size_t count) override {
        Require(count <= size_ - written_, "write beyond the size");
        std::memcpy(buffer_.get() + written_, bytes, count);
        written_ += count;
    }
    void Close() override {
        Source source(zip_source_buffer(archive_, buffer_.get(), written_, 1));
        Require(source != nullptr, "make a source");
        static_cast<void>(buffer_.release());
        const zip_int64_t index =
            zip_file_add(archive_, name_.c_str(), source.get(), ZIP_FL_OVERWRITE);
        Require(index >= 0, "add an entry");
        static_cast<void>(source.release());
        const auto entry = static_cast<zip_uint64_t>(index);
        Require(zip_set_file_compression(archive_, entry, ZIP_CM_STORE, 0) == 0, "store an entry");
    }

private:
    zip_t* const archive_;
    const std::string name_;
    const std::uint64_t size_;
    std::uint64_t written_ = 0;
    Buffer buffer_;
};

class EntryReader : public Store::Reader {
public:
    explicit EntryReader(File file) : file_(std::move(file)) {}

    void Read(char* bytes, std::size_t count) override {
        Require(zip_fread(file_.get(), bytes, count) == static_cast<zip_int64_t>(count), "read");
    }
    void ReadAt(std::uint64_t offset, char* bytes, std::size_t count) override {
        Require(zip_fseek(file_.get(), static_cast<zip_int64_t>(offset), SEEK_SET) == 0, "seek");
        Read(bytes, count);
    }

private:
    const File file_;
};

class ZipStore : public Store {
public:
    void Open(const std::string& path, Mode mode) override {
        archive_.reset(zip_open(path.c_str(), Flags(mode), nullptr));
        Require(archive_ != nullptr, "open");
    }
    void Close() override {
        Require(zip_close(archive_.get()) == 0, "close");
        static_cast<void>(archive_.release());
    }

    std::unique_ptr<Writer> Write(const std::string& name, std::uint64_t size) override {
        return std::make_unique<EntryWriter>(archive_.get(), name, size);
    }
    std::unique_ptr<Reader> Find(const std::string& name) override {
        File file(zip_fopen(archive_.get(), name.c_str(), 0));
        Require(file != nullptr, "find an entry");
        return std::make_unique<EntryReader>(std::move(file));
    }
    void List(const std::function<void(const char* name)>& visit) override {
        const zip_int64_t count = zip_get_num_entries(archive_.get(), 0);
        for (zip_int64_t index = 0; index < count; ++index) {
            const char* name = zip_get_name(archive_.get(), static_cast<zip_uint64_t>(index), 0);
            Require(name != nullptr, "list");
            visit(name);
        }
    }

private:
    static int Flags(Mode mode) {
        switch (mode) {
        case Mode::Create:
            return ZIP_CREATE | ZIP_EXCL;
        case Mode::Change:
            return 0;
        case Mode::Read:
            break;
        }
        return ZIP_RDONLY;
    }

    Archive archive_;
};

} // namespace

Contender ZipContender() {
    return {"libzip", [] { return std::string(zip_libzip_version()); },
            []() -> std::unique_ptr<Store> { return std::make_unique<ZipStore>(); }};
}
