#include "fuzz/Decoder.h"
#include "fuzz/Require.h"
#include "tests/support/Entries.h"
#include "tests/support/TempFolder.h"

#include <TALVOutl/Strings.h>

#include <functional>
#include <vector>

namespace {

constexpr char kPassword[] = "secret";
constexpr char kNew[] = "made by the walk";

/// The block file, on disk or in a stream, and a handle that is opened anew as often as needed.
class Subject {
public:
    Subject(const std::string& bytes, bool inStream, bool hasPassword)
        : stream_(inStream ? std::make_shared<std::stringstream>(bytes) : nullptr),
          hasPassword_(hasPassword) {
        if (!inStream) {
            WriteFile(Path(), bytes);
        }
    }

    KrStreamE::Status Open(KrStreamE::OpenMode mode) {
        file_.Close();
        mode_ = mode;
        const KrStreamE::Status status =
            stream_ == nullptr ? file_.Open(Path().c_str(), mode) : file_.Open(stream_, false);
        Require(status == KrStreamE::Ok || status == KrStreamE::NotOpen, "status of opening");
        if (hasPassword_) {
            file_.SetPassword(kPassword);
        }
        return status;
    }
    /// The handle; an engine that failed is opened anew.
    CompoundFile& File() {
        if (file_.GetStatus() != KrStreamE::Ok) {
            Require(Open(mode_) == KrStreamE::Ok, "a file that was open opens again");
        }
        return file_;
    }
    void Close() {
        const KrStreamE::Status status = file_.Close();
        Require(status >= KrStreamE::Ok && status <= KrStreamE::PasswordRequired && status != 3,
                "status of closing");
    }
    void HasPassword() { hasPassword_ = true; }

    std::string Bytes() const { return stream_ != nullptr ? stream_->str() : ReadFile(Path()); }

private:
    static std::string Path() {
        static const TempFolder folder;
        return folder / "file";
    }

    std::shared_ptr<std::stringstream> stream_;
    bool hasPassword_;
    KrStreamE::OpenMode mode_ = KrStreamE::ReadOnly;
    CompoundFile file_;
};

struct Listed {
    std::string name;
    std::uint64_t size;
    bool isUnique;
};

/// The entries that can be found by their names.
std::vector<Listed> List(const CompoundFile& file) {
    std::vector<Listed> entries;
    std::map<std::string, std::size_t, KrStdString::LessNoCase> places;
    unsigned long index = 0;
    for (const DirEntry* entry = file.GetFirstDirEntry(&index); entry != nullptr;
         entry = file.GetNextDirEntry(&index)) {
        Require(file.Exists(entry->name) || *entry->name == '\0', "a listed name exists");
        if (KrStdString::EqualClassic(entry->name, CompoundFile::kFreeListEntryName)) {
            continue;
        }
        const auto [place, isNew] = places.emplace(entry->name, entries.size());
        if (isNew) {
            entries.push_back({entry->name, entry->size, true});
        } else {
            entries[place->second].isUnique = false;
        }
    }
    return entries;
}

/// What can be read of the file without an error, to the length that the directory tells.
Model WholeEntries(Subject& subject) {
    Model whole;
    for (const Listed& entry : List(subject.File())) {
        const std::optional<std::string> bytes = Get(subject.File(), entry.name);
        Require(!bytes || bytes->size() <= entry.size, "no more bytes than recorded");
        if (bytes && bytes->size() == entry.size) {
            whole[entry.name] = *bytes;
        }
    }
    return whole;
}

/// Unlike those of any other length.
std::string Bytes(std::size_t size) {
    return Pattern(size, static_cast<unsigned>(size));
}

class WritingWalk {
public:
    WritingWalk(Subject& subject, Model untouched, unsigned choice)
        : subject_(subject), expected_(std::move(untouched)), choice_(choice) {}

    Model Run() {
        const std::vector<Listed> entries = List(subject_.File());
        ChangeOne(entries, 0);
        Replace({kNew, 0, true}, 2500);
        // What is freed now must not be what was just taken.
        ChangeOne(entries, 1);
        SeekAbout();
        subject_.File().Flush();
        if (Write(kNew, "r+b", 1003, std::ios::beg)) {
            expected_[kNew].replace(0, 1003, Bytes(1003));
        }
        if (choice_ % 2 == 0) {
            ChangePassword();
        }
        const std::string flushed = subject_.File().FlushToString();
        Require(flushed.size() % 1024 == 0, "whole blocks");
        return expected_;
    }

private:
    void ChangeOne(const std::vector<Listed>& entries, std::size_t i) {
        if (i < entries.size()) {
            Change(entries[(choice_ + i) % entries.size()], (choice_ / 4 + i) % 4);
        }
    }
    void Change(const Listed& entry, std::size_t how) {
        expected_.erase(entry.name);
        if (how == 0) {
            const bool deleted = subject_.File().DeleteCFFile(entry.name.c_str());
            Require(!deleted || !entry.isUnique || !subject_.File().Exists(entry.name.c_str()),
                    "a deleted entry is gone");
        } else if (how == 1) {
            Replace(entry, 12000);
        } else {
            Write(entry.name, "r+b", 1600, how == 2 ? std::ios::beg : std::ios::end);
        }
    }
    void Replace(const Listed& entry, std::size_t size) {
        if (Write(entry.name, "wb", size, std::ios::beg) && entry.isUnique) {
            expected_[entry.name] = Bytes(size);
        }
    }
    /// Whether it went well as far as the file can tell.
    bool Write(const std::string& name, const char* mode, std::size_t size,
               std::ios::seekdir from) {
        CompoundFile& file = subject_.File();
        return WriteTo(file.GetIOStream(name.c_str(), mode), Bytes(size), from) &&
               file.GetStatus() == KrStreamE::Ok;
    }
    void SeekAbout() {
        for (const auto& [name, bytes] : expected_) {
            const auto stream = subject_.File().GetIOStream(name.c_str(), "rb");
            Require(stream != nullptr, "a readable entry opens");
            const auto size = static_cast<std::streamoff>(bytes.size());
            stream->seekg(0, std::ios::end);
            Require(!stream->good() || stream->tellg() == size, "the end is the size");
            for (const std::streamoff at : {size, size / 2, size - 1, std::streamoff{0}}) {
                Require(!stream->seekg(at - size, std::ios::end).good() || at < 0 ||
                            stream->tellg() == at,
                        "a seek within the entry arrives");
            }
        }
    }
    void ChangePassword() {
        CompoundFile& file = subject_.File();
        if (file.Encrypt(kPassword) == KrStreamE::Ok) {
            subject_.HasPassword();
            subject_.Open(KrStreamE::ReadWrite);
            CompoundFile& again = subject_.File();
            Require(!again.IsEncrypted() || !again.SetPassword("other"), "a wrong password");
            if (choice_ % 4 == 0) {
                again.Decrypt();
            }
        }
    }

    Subject& subject_;
    Model expected_;
    unsigned choice_;
};

void RequireAll(const Model& expected, Subject& subject) {
    const Model found = WholeEntries(subject);
    for (const auto& [name, bytes] : expected) {
        const auto entry = found.find(name);
        Require(entry != found.end(), "what nobody damaged is readable", name);
        Require(entry->second == bytes, "what nobody changed has its bytes", name);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    Decoder input(bytes, count);
    const unsigned options = input.Byte();
    const std::string content = input.Rest();
    const bool inStream = options % 2 != 0;
    Subject subject(content, inStream, options / 2 % 2 != 0);

    if (subject.Open(KrStreamE::ReadOnly) != KrStreamE::Ok) {
        return 0;
    }
    const Model whole = WholeEntries(subject);
    subject.Close();
    Require(inStream || subject.Bytes() == content, "reading changes nothing");

    if (subject.Open(KrStreamE::ReadWrite) == KrStreamE::Ok) {
        RequireAll(whole, subject);
        const Model untouched = WritingWalk(subject, whole, options / 4).Run();
        RequireAll(untouched, subject);
        subject.Close();
        Require(subject.Open(KrStreamE::ReadWrite) == KrStreamE::Ok, "what was closed opens");
        subject.Close();
        Require(subject.Open(KrStreamE::ReadOnly) == KrStreamE::Ok, "it opens read only, too");
        RequireAll(untouched, subject);
    }
    subject.Close();
    return 0;
}
