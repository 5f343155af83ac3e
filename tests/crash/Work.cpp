#include "tests/crash/Work.h"

#include "tests/support/TempFolder.h"

#include <boost/filesystem/path.hpp>

#include <algorithm>

#include <fcntl.h>
#include <unistd.h>

Work::Work(const std::string& path, const Model& before) : path_(path) {
    WriteFile(path, before.empty() ? std::string() : FileOf(before));
    start_[path] = ReadFile(path);
    for (const auto& [name, bytes] : before) {
        promises_[name].versions = {bytes};
    }
    SystemCalls::Record(&operations_, path);
    Check(file_.Open(path.c_str(), KrStreamE::ReadWrite) == KrStreamE::Ok);
    Note(true);
}

Work::~Work() {
    SystemCalls::Record(nullptr);
}

void Work::Put(const std::string& name, const std::string& bytes) {
    Begin(name);
    Write(name, bytes);
    Finish(name);
}

void Work::Change(const std::string& name, std::size_t offset, const std::string& bytes) {
    std::vector<std::string>& versions = promises_[name].versions;
    std::string changed = versions.back();
    changed.resize(std::max(changed.size(), offset + bytes.size()));
    versions.push_back(changed.replace(offset, bytes.size(), bytes));
    Note(false);
    {
        const auto stream = file_.GetIOStream(name.c_str(), "r+b");
        Check(stream != nullptr &&
              stream->seekp(static_cast<std::streamoff>(offset))
                  .write(bytes.data(), static_cast<std::streamsize>(bytes.size()))
                  .good());
    }
    Settle();
}

void Work::Delete(const std::string& name) {
    promises_[name].mayMiss = true;
    promises_[name].isGoing = true;
    Note(false);
    Check(file_.DeleteCFFile(name.c_str()));
    deleted_.insert(name);
}

void Work::Flush() {
    file_.Flush();
    Settle();
}

void Work::Begin(const std::string& name) {
    Promise& promise = promises_[name];
    promise.mayMiss = true;
    promise.isGoing = false;
    promise.versions.emplace_back();
    deleted_.erase(name);
    Note(false);
    open_[name] = file_.GetIOStream(name.c_str(), "wb");
    Check(open_[name] != nullptr);
}

void Work::Write(const std::string& name, const std::string& bytes) {
    promises_[name].versions.back() += bytes;
    Note(false);
    Check(open_[name]->write(bytes.data(), static_cast<std::streamsize>(bytes.size())).good());
}

void Work::Finish(const std::string& name) {
    open_.erase(name);
    Settle();
}

void Work::Encrypt(const std::string& password) {
    passwords_.push_back(password);
    Encipher([](CompoundFile& file,
                const std::string& with) { return file.Encrypt(with.c_str()) == KrStreamE::Ok; },
             password);
}

void Work::Decrypt() {
    Encipher([](CompoundFile& file, const std::string&) { return file.Decrypt() == KrStreamE::Ok; },
             "");
}

void Work::Encipher(bool (*change)(CompoundFile&, const std::string&),
                    const std::string& password) {
    for (auto& [name, promise] : promises_) {
        promise.isOpaque = true;
    }
    Note(false);
    Check(change(file_, password));
    password_ = password;
    for (auto& [name, promise] : promises_) {
        promise.isOpaque = false;
    }
    Note(true);
    Flush();
}

void Work::Close() {
    Note(false);
    Check(file_.Close() == KrStreamE::Ok);
    Settle();
}

void Work::Reopen() {
    Close();
    Check(file_.Open(path_.c_str(), KrStreamE::ReadWrite) == KrStreamE::Ok &&
          (password_.empty() || file_.SetPassword(password_.c_str())));
}

void Work::Sync() {
    Flush();
    const int descriptor = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    Check(descriptor >= 0 && fsync(descriptor) == 0);
    close(descriptor);
}

std::size_t Work::MomentAfter(std::size_t operations, bool andPart) const {
    std::size_t last = 0;
    for (std::size_t i = 0; i < moments_.size(); ++i) {
        const bool isEarlier = moments_[i].operations < operations;
        // What is begun at this very moment has not come to the disk before the next operation.
        if (isEarlier || (moments_[i].operations == operations && (moments_[i].isEnd || andPart))) {
            last = i;
        }
    }
    return last;
}

Promises Work::UntouchedBetween(std::size_t first, std::size_t last) const {
    const std::size_t begin = MomentAfter(first, false);
    const std::size_t end = MomentAfter(last, false);
    Promises untouched;
    for (const Moment& moment : moments_) {
        for (const auto& [name, promise] : moment.promises) {
            untouched[name] = {{""}, true, true};
        }
    }
    for (const auto& [name, promise] : moments_[begin].promises) {
        bool isSame = promise.IsWhole();
        for (std::size_t i = begin; isSame && i <= end; ++i) {
            const auto now = moments_[i].promises.find(name);
            isSame = now != moments_[i].promises.end() && now->second.IsWhole() &&
                     now->second.versions == promise.versions;
        }
        untouched[name] = isSame ? promise : untouched[name];
    }
    return untouched;
}

std::vector<std::string> Work::Names() const {
    std::vector<std::string> names;
    for (const auto& [name, promise] : promises_) {
        if (promise.IsWhole()) {
            names.push_back(name);
        }
    }
    return names;
}

void Work::Note(bool isEnd) {
    moments_.push_back({operations_.size(), isEnd, promises_});
}

// Everything that is not being written has come to its last version.
void Work::Settle() {
    for (auto entry = promises_.begin(); entry != promises_.end();) {
        Promise& promise = entry->second;
        const bool isOpen = open_.count(entry->first) != 0;
        const bool isGone = deleted_.count(entry->first) != 0;
        if (!isOpen) {
            promise.versions = {promise.versions.back()};
            promise.mayMiss = false;
        }
        entry = isGone ? promises_.erase(entry) : std::next(entry);
    }
    deleted_.clear();
    Note(true);
}
