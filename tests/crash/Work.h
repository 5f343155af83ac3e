#pragma once

#include "tests/crash/Disk.h"
#include "tests/support/Entries.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// What may be found of an entry after a crash.
struct Promise {
    /// The only one: the entry is whole. Of several, each byte is that of one of them, and the
    /// entry is at least as long as the first.
    std::vector<std::string> versions;
    /// It is being created or replaced: if it is there, it is the old version or a beginning of
    /// the last.
    bool mayMiss = false;
    /// Nothing is promised of its bytes, as while they are being enciphered.
    bool isOpaque = false;
    /// It is being deleted: if it is there, it is whole.
    bool isGoing = false;

    bool IsWhole() const { return versions.size() == 1 && !mayMiss && !isOpaque; }
};
using Promises = std::map<std::string, Promise>;

/// A user of one compound file who writes down, for each moment, what was done to the disk until
/// then and what holds of each entry should the program die.
class Work {
public:
    Work(const std::string& path, const Model& before);
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    void Put(const std::string& name, const std::string& bytes);
    /// Writes over an entry in place from `offset` on; extends it where there are more bytes.
    void Change(const std::string& name, std::size_t offset, const std::string& bytes);
    void Delete(const std::string& name);
    void Flush();
    /// Streams that stay open, for several at once: a new entry is begun, written to, finished.
    void Begin(const std::string& name);
    void Write(const std::string& name, const std::string& bytes);
    void Finish(const std::string& name);
    void Encrypt(const std::string& password);
    void Decrypt();
    void Close();
    void Reopen();
    void Sync();

    bool IsFine() const { return isFine_; }
    const Operations& Done() const { return operations_; }
    /// What holds when so many operations are done, and the next one perhaps in part.
    const Promises& PromisedAfter(std::size_t operations, bool andPart) const {
        return moments_[MomentAfter(operations, andPart)].promises;
    }
    /// What was whole after so many operations and not changed until so many were done; of all
    /// other entries that there ever were, nothing.
    Promises UntouchedBetween(std::size_t first, std::size_t last) const;
    const Disk& Start() const { return start_; }
    const std::vector<std::string>& Passwords() const { return passwords_; }
    /// Names of the entries that are there, without those that are being written.
    std::vector<std::string> Names() const;
    std::size_t SizeOf(const std::string& name) const {
        return promises_.at(name).versions.back().size();
    }

private:
    /// What is promised when so many operations have reached the disk.
    struct Moment {
        std::size_t operations;
        /// A change has come to its end, rather than one is about to begin.
        bool isEnd;
        Promises promises;
    };

    std::size_t MomentAfter(std::size_t operations, bool andPart) const;
    void Check(bool done) { isFine_ = isFine_ && done; }
    void Note(bool isEnd);
    void Settle();
    void Encipher(bool (*change)(CompoundFile&, const std::string&), const std::string& password);

    const std::string path_;
    CompoundFile file_;
    Disk start_;
    Operations operations_;
    std::vector<Moment> moments_;
    Promises promises_;
    std::map<std::string, std::unique_ptr<std::iostream>> open_;
    /// Since the directory was last written.
    std::set<std::string> deleted_;
    std::vector<std::string> passwords_;
    std::string password_;
    bool isFine_ = true;
};
