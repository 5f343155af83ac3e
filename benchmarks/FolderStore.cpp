#include "benchmarks/Contenders.h"
#include "benchmarks/PlainFile.h"

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

namespace {

class FileWriter : public Store::Writer {
public:
    explicit FileWriter(const std::string& path)
        : file_(std::make_unique<PlainFile>(path, PlainFile::Mode::Create)) {}

    void Write(const char* bytes, std::size_t count) override { file_->Write(bytes, count); }
    void Close() override { file_.reset(); }

private:
    std::unique_ptr<PlainFile> file_;
};

class FileReader : public Store::Reader {
public:
    explicit FileReader(const std::string& path) : file_(path, PlainFile::Mode::Read) {}

    void Read(char* bytes, std::size_t count) override { file_.Read(bytes, count); }
    void ReadAt(std::uint64_t offset, char* bytes, std::size_t count) override {
        file_.ReadAt(offset, bytes, count);
    }

private:
    PlainFile file_;
};

class FolderStore : public Store {
public:
    void Open(const std::string& path, Mode mode) override {
        folder_ = path;
        if (mode == Mode::Create) {
            boost::filesystem::create_directory(path);
        }
    }
    void Close() override {}

    std::unique_ptr<Writer> Write(const std::string& name, std::uint64_t) override {
        return std::make_unique<FileWriter>(folder_ + '/' + name);
    }
    std::unique_ptr<Reader> Find(const std::string& name) override {
        return std::make_unique<FileReader>(folder_ + '/' + name);
    }
    void List(const std::function<void(const char* name)>& visit) override {
        for (const auto& file : boost::filesystem::directory_iterator(folder_)) {
            visit(file.path().filename().c_str());
        }
    }

private:
    std::string folder_;
};

} // namespace

Contender FolderContender() {
    return {"folder", [] { return std::string(); },
            []() -> std::unique_ptr<Store> { return std::make_unique<FolderStore>(); }};
}
