#include "fuzz/TrackedStream.h"
#include "tests/support/Findings.h"

#include <vector>

namespace {

constexpr std::size_t kMaxHandles = 3;
constexpr std::size_t kMaxStreams = 5;

/// A compound file and a model of it, changed side by side by operations that all have to succeed.
class Play {
public:
    explicit Play(Decoder& input)
        : input_(input),
          memory_(input.OneIn(2) ? std::make_shared<std::stringstream>() : nullptr),
          isEnciphered_(input.OneIn(4)) {
        if (memory_ == nullptr) {
            WriteFile(Path(), "");
        }
        OpenHandle();
    }

    void Run() {
        using Operation = void (Play::*)();
        static constexpr Operation kOperations[] = {
            &Play::Create,        &Play::Create,         &Play::OpenStream,    &Play::UseStream,
            &Play::UseStream,     &Play::UseStream,      &Play::UseStream,     &Play::UseStream,
            &Play::UseStream,     &Play::CloseStream,    &Play::Delete,        &Play::Flush,
            &Play::FlushToString, &Play::ChangePassword, &Play::ChangeHandles, &Play::Reopen,
            &Play::Replace,       &Play::GivePassword};
        while (!input_.IsDone()) {
            (this->*input_.Pick(kOperations))();
            Require(File().GetStatus() == KrStreamE::Ok, "the file stays sound");
        }
        Reopen();
    }

private:
    CompoundFile& File() { return *handles_.back(); }

    void OpenHandle() {
        handles_.push_back(std::make_unique<CompoundFile>());
        const KrStreamE::Status status = memory_ != nullptr
                                             ? File().Open(memory_, true)
                                             : File().Open(Path().c_str(), KrStreamE::ReadWrite);
        Require(status == KrStreamE::Ok, "the file opens");
        if (!password_.empty()) {
            Require(File().SetPassword(password_.c_str()), "the password fits");
        }
    }

    void Create() {
        const std::string name = AnyName(input_);
        auto stream = File().GetIOStream(name.c_str(), "wb");
        Require(stream != nullptr && stream->good(), "an entry is made");
        Forget(name);
        contents_[FoldedName(name)] = std::make_shared<Content>();
        Track(std::move(stream), name);
    }
    void Replace() {
        const std::string name = AnyName(input_);
        const std::string bytes = Pattern(input_.Size(), input_.Byte());
        Require(Put(File(), name, bytes), "an entry is written");
        Forget(name);
        contents_[FoldedName(name)] = std::make_shared<Content>(Content{bytes});
    }
    void OpenStream() {
        const std::string name = AnyName(input_);
        const auto found = contents_.find(FoldedName(name));
        if (found == contents_.end() || !found->second->hasWriter) {
            auto stream = File().GetIOStream(name.c_str(), input_.OneIn(2) ? "rb" : "r+b");
            Require((stream != nullptr) == (found != contents_.end()), "what there is opens");
            if (stream != nullptr) {
                Track(std::move(stream), name);
            }
        }
    }
    void Track(std::unique_ptr<std::iostream> stream, const std::string& name) {
        streams_.push_back(
            std::make_unique<TrackedStream>(std::move(stream), contents_.at(FoldedName(name))));
        if (streams_.size() > kMaxStreams) {
            CloseStream();
        }
    }
    void UseStream() {
        if (streams_.empty()) {
            return;
        }
        TrackedStream& stream = *streams_[input_.Below(streams_.size())];
        if (!stream.IsAlive()) {
            stream.RequireDead();
            return;
        }
        static constexpr std::ios::seekdir kDirections[] = {std::ios::beg, std::ios::cur,
                                                            std::ios::end};
        switch (input_.Below(7)) {
        case 0:
        case 1:
            stream.Write(input_.Size(), input_.Byte());
            break;
        case 2:
            stream.Read(input_.Size());
            break;
        case 3:
        case 4: {
            const auto offset = static_cast<std::int64_t>(input_.Size());
            stream.Seek(input_.OneIn(2) ? -offset : offset, input_.Pick(kDirections));
            break;
        }
        case 5:
            stream.StepBack();
            break;
        default:
            stream.Flush();
            RequireContents(File());
        }
    }
    void CloseStream() {
        if (!streams_.empty()) {
            streams_.erase(streams_.begin() +
                           static_cast<std::ptrdiff_t>(input_.Below(streams_.size())));
        }
    }
    void Delete() {
        const std::string name = AnyName(input_);
        Require(File().DeleteCFFile(name.c_str()) == (contents_.count(FoldedName(name)) != 0),
                "what there is can be deleted");
        Forget(name);
    }
    void Forget(const std::string& name) {
        const auto found = contents_.find(FoldedName(name));
        if (found != contents_.end()) {
            found->second->isAlive = false;
            contents_.erase(found);
        }
    }

    void Flush() {
        File().Flush();
        RequireContents(File());
    }
    void FlushToString() {
        const auto copy = std::make_shared<std::stringstream>(File().FlushToString());
        CompoundFile file;
        Require(file.Open(copy, true) == KrStreamE::Ok, "what was flushed opens");
        Require(password_.empty() || file.SetPassword(password_.c_str()), "its password fits");
        RequireContents(file);
    }
    void ChangePassword() {
        static const std::string kPasswords[] = {"secret", "other", std::string(80, 'p')};
        if (!isEnciphered_) {
            return;
        }
        if (!input_.OneIn(2)) {
            password_ = input_.Pick(kPasswords);
            Require(File().Encrypt(password_.c_str()) == KrStreamE::Ok, "the file is enciphered");
        } else if (File().IsEncrypted()) {
            Require(File().Decrypt() == KrStreamE::Ok, "the file is deciphered");
            password_.clear();
        }
    }
    void GivePassword() {
        Require(File().SetPassword("wrong") == password_.empty(), "a wrong password");
        Require(File().IsEncrypted() == (!password_.empty() && File().GetNumDirEntrys() > 0),
                "what it is enciphered by");
    }

    // Streams keep the file open when no handle does.
    void ChangeHandles() {
        if (memory_ != nullptr) {
            return;
        }
        if (input_.OneIn(2)) {
            handles_.erase(handles_.begin() +
                           static_cast<std::ptrdiff_t>(input_.Below(handles_.size())));
        }
        if (handles_.size() < kMaxHandles) {
            OpenHandle();
        }
    }
    void Reopen() {
        if (input_.OneIn(2)) {
            handles_.clear();
            streams_.clear();
        } else {
            streams_.clear();
            handles_.clear();
        }
        if (memory_ != nullptr) {
            WriteFile(Path(), memory_->str());
        }
        const std::string faults = Findings(Path(), password_.c_str());
        Require(faults.empty(), faults.c_str());
        OpenHandle();
        RequireContents(File());
    }

    // An entry that a stream has not written to its end would fail the other file that reads it.
    void RequireContents(CompoundFile& file) {
        for (const auto& [name, content] : contents_) {
            Require(content->isPending || Get(file, name) == content->bytes, "an entry's bytes");
        }
        const bool hasFreeList = file.Exists(CompoundFile::kFreeListEntryName);
        Require(static_cast<std::size_t>(file.GetNumDirEntrys()) ==
                    contents_.size() + (hasFreeList ? 1 : 0),
                "the number of entries");
    }

    static std::string Path() {
        static const TempFolder folder;
        return folder / "file";
    }

    Decoder& input_;
    const std::shared_ptr<std::stringstream> memory_;
    /// In a part of the plays only, for ciphers take the most time.
    const bool isEnciphered_;
    std::vector<std::unique_ptr<CompoundFile>> handles_;
    std::vector<std::unique_ptr<TrackedStream>> streams_;
    std::map<std::string, std::shared_ptr<Content>> contents_;
    std::string password_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    Decoder input(bytes, count);
    Play(input).Run();
    return 0;
}
