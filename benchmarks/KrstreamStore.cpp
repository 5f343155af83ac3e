#include "benchmarks/Contenders.h"

#include <TALVOkrstream/CompoundFile.h>

#include <istream>
#include <stdexcept>

namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(std::string("krstream: ") + what);
    }
}

class EntryWriter : public Store::Writer {
public:
    explicit EntryWriter(std::unique_ptr<std::iostream> stream) : stream_(std::move(stream)) {}

    void Write(const char* bytes, std::size_t count) override {
        Require(stream_->write(bytes, static_cast<std::streamsize>(count)).good(), "write");
    }
    void Close() override {
        Require(stream_->flush().good(), "flush");
        stream_.reset();
    }

private:
    std::unique_ptr<std::iostream> stream_;
};

class EntryReader : public Store::Reader {
public:
    explicit EntryReader(std::unique_ptr<std::iostream> stream) : stream_(std::move(stream)) {}

    void Read(char* bytes, std::size_t count) override {
        Require(stream_->read(bytes, static_cast<std::streamsize>(count)).good(), "read");
    }
    void ReadAt(std::uint64_t offset, char* bytes, std::size_t count) override {
        Require(stream_->seekg(static_cast<std::streamoff>(offset)).good(), "seek");
        Read(bytes, count);
    }

private:
    std::unique_ptr<std::iostream> stream_;
};

class KrstreamStore : public Store {
public:
    void Open(const std::string& path, Mode mode) override {
        const auto how = mode == Mode::Read ? KrStreamE::ReadOnly : KrStreamE::ReadWrite;
        Require(file_.Open(path.c_str(), how) == KrStreamE::Ok, "open");
    }
    void Close() override { Require(file_.Close() == KrStreamE::Ok, "close"); }

    std::unique_ptr<Writer> Write(const std::string& name, std::uint64_t) override {
        auto stream = file_.GetIOStream(name.c_str(), "wb");
        Require(stream != nullptr, "create a stream");
        return std::make_unique<EntryWriter>(std::move(stream));
    }
    std::unique_ptr<Reader> Find(const std::string& name) override {
        auto stream = file_.GetIOStream(name.c_str(), "rb");
        Require(stream != nullptr, "find a stream");
        return std::make_unique<EntryReader>(std::move(stream));
    }
    void List(const std::function<void(const char* name)>& visit) override {
        unsigned long index = 0;
        for (const char* name = file_.GetFirstDirName(&index); name != nullptr;
             name = file_.GetNextDirName(&index)) {
            visit(name);
        }
    }

private:
    CompoundFile file_;
};

} // namespace

Contender KrstreamContender() {
    return {"krstream", [] { return std::string(KRSTREAM_VERSION); },
            []() -> std::unique_ptr<Store> { return std::make_unique<KrstreamStore>(); }};
}
