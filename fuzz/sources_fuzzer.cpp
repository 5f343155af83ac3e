#include "fuzz/Names.h"
#include "tests/support/Sources.h"
#include "tests/support/TempFolder.h"

#include <TALVOkrstream/CompoundFileStreamSource.h>

namespace {

constexpr char kTemporary[] = "scratch";

const TempFolder& Folder() {
    static const TempFolder folder;
    return folder;
}

std::set<std::string> NamesOf(const KrStreamSource& source) {
    std::set<std::string> names;
    const auto found = source.GetFileNames();
    for (const std::string& name : *found) {
        names.insert(FoldedName(name));
    }
    names.erase(CompoundFile::kFreeListEntryName);
    return names;
}

/// A source and what it has to show, changed side by side.
class Play {
public:
    Play(Decoder& input, KrStreamSource& source) : input_(input), source_(source) {}

    const Model& View() const { return view_; }
    void SetView(const Model& view) { view_ = view; }

    /// A new stream; who reads the one before goes on reading that, if the source can do this.
    void Write(bool keepsOld) {
        const std::string name = AnyName(input_);
        const auto old = keepsOld ? source_.GetIStream(name.c_str()) : nullptr;
        const std::string bytes = Pattern(input_.Size(), input_.Byte());
        Require(::Write(source_, name, bytes), "a stream is written");
        if (old != nullptr) {
            const std::string read{std::istreambuf_iterator<char>(*old), {}};
            Require(read == view_.at(FoldedName(name)), "the old stream stays whole");
        }
        view_[FoldedName(name)] = bytes;
    }
    /// `back` has the streams that come back, although they were deleted, when they are changed.
    void Change(const Model& back) {
        const std::string name = AnyName(input_);
        const auto before = back.find(FoldedName(name));
        auto stream = source_.GetIOStream(name.c_str());
        if (before != back.end()) {
            view_.insert(*before);
        }
        const auto found = view_.find(FoldedName(name));
        Require((stream != nullptr) == (found != view_.end()), "a stream that is there opens");
        if (stream != nullptr) {
            const std::size_t at = std::min(input_.Size(), found->second.size());
            const std::string bytes = Pattern(input_.Size(), input_.Byte());
            stream->seekp(static_cast<std::streamoff>(at));
            stream->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            Require(stream->flush().good(), "a stream is changed");
            Patch(found->second, at, bytes);
        }
    }
    void Read() {
        const std::string name = AnyName(input_);
        const auto found = view_.find(FoldedName(name));
        const bool exists = found != view_.end();
        Require(source_.StreamExists(name.c_str()) == exists, "whether a stream exists");
        const auto bytes = ::Read(source_, name);
        Require(bytes.has_value() == exists && (!exists || *bytes == found->second),
                "a stream's bytes");
    }
    void Delete() {
        const std::string name = AnyName(input_);
        source_.DeleteSource(name.c_str());
        view_.erase(FoldedName(name));
    }
    void RequireView(bool hasTemporary) const {
        std::set<std::string> names;
        for (const auto& entry : view_) {
            names.insert(entry.first);
            Require(::Read(source_, entry.first) == entry.second, "every stream's bytes");
        }
        if (hasTemporary) {
            names.insert(kTemporary);
        }
        Require(NamesOf(source_) == names, "the names of the streams");
    }

private:
    Decoder& input_;
    KrStreamSource& source_;
    Model view_;
};

void PlayInMemory(Decoder& input) {
    MemCompoundFileStreamSource source;
    source.Open();
    Play play(input, source);
    const std::string path = Folder() / "memory";
    while (!input.IsDone()) {
        const std::size_t choice = input.Below(12);
        if (choice < 4) {
            play.Write(false);
        } else if (choice < 6) {
            play.Change({});
        } else if (choice < 8) {
            play.Read();
        } else if (choice < 10) {
            play.Delete();
        } else if (choice < 11) {
            play.RequireView(false);
        } else {
            const std::string bytes = source.FlushToString();
            Require(source.Save(path.c_str()) && ReadFile(path) == bytes, "the source is saved");
            RequireSame(GetAll(path), play.View(), "what was saved while open");
        }
    }
    source.Close();
    Require(source.Save(path.c_str()), "the closed source is saved");
    RequireSame(GetAll(path), play.View(), "what was saved");
}

/// A workspace, and beside it what it shows, what its compound file has, and a temporary stream.
class WorkspacePlay {
public:
    explicit WorkspacePlay(Decoder& input) : input_(input) {
        WriteFile(path_, "");
        Open(CompoundFileStreamSource::NewWorkspace);
    }
    ~WorkspacePlay() { source_.Close(CompoundFileStreamSource::DiscardChanges, false); }
    WorkspacePlay(const WorkspacePlay&) = delete;
    WorkspacePlay& operator=(const WorkspacePlay&) = delete;

    void Run() {
        while (!input_.IsDone()) {
            const std::size_t choice = input_.Below(24);
            if (choice < 5) {
                play_.Write(true);
            } else if (choice < 8) {
                play_.Change(saved_);
            } else if (choice < 11) {
                play_.Read();
            } else if (choice < 13) {
                play_.Delete();
            } else {
                (this->*kOperations[choice - 13])();
            }
        }
        CloseSaving();
    }

private:
    void Open(CompoundFileStreamSource::OpenMode mode) {
        Require(source_.Open(mode, false) == CompoundFileStreamSource::NoError, "a source opens");
    }
    void RequireSaved() const { RequireSame(GetAll(path_), saved_, "what the compound file has"); }

    void WriteTemporary() {
        *source_.GetTempOStream(kTemporary) << Pattern(input_.Size(), 1);
        hasTemporary_ = true;
    }
    void RequireView() { play_.RequireView(hasTemporary_); }
    void Extract() { Require(source_.ExtractAllFiles(), "all entries are copied out"); }
    void Measure() {
        const std::string name = AnyName(input_);
        const auto found = play_.View().find(FoldedName(name));
        Require(source_.GetStreamSize(name.c_str()) ==
                    (found == play_.View().end() ? 0 : found->second.size()),
                "a stream's size");
        source_.GetUnUsedFileSpace();
    }
    void Save() {
        const bool full = saved_.empty() && !hasTemporary_ && input_.OneIn(2);
        Require(source_.CopyToBlockFile(full) == CompoundFileStreamSource::NoError, "saving");
        Require(!source_.IsDirty(), "a saved source is clean");
        saved_ = play_.View();
        RequireSaved();
    }
    void SaveElsewhere() {
        const std::string path = Folder() / "elsewhere";
        Require(source_.SaveAs(path.c_str()) == CompoundFileStreamSource::NoError,
                "saving elsewhere");
        RequireSame(GetAll(path), play_.View(), "what was saved elsewhere");
        RequireSaved();
        source_.SetIsDirty(true, nullptr);
    }
    void Compact() {
        source_.CompactCompoundFile();
        saved_ = play_.View();
        hasTemporary_ = false;
        RequireSaved();
        Require(source_.GetUnUsedFileSpace() == 0, "nothing is left to compact");
    }
    void CloseSaving() {
        Require(source_.Close(CompoundFileStreamSource::SaveChanges, false) ==
                    CompoundFileStreamSource::NoError,
                "closing");
        saved_ = play_.View();
        hasTemporary_ = false;
        RequireSaved();
        Open(CompoundFileStreamSource::NewWorkspace);
    }
    void CloseDiscarding() {
        source_.Close(CompoundFileStreamSource::DiscardChanges, false);
        play_.SetView(saved_);
        hasTemporary_ = false;
        RequireSaved();
        Open(CompoundFileStreamSource::NewWorkspace);
    }
    /// As after a crash: files that are not saved are there, deletions are forgotten.
    void TakeUp() {
        source_.DeleteSource(kTemporary);
        hasTemporary_ = false;
        Open(CompoundFileStreamSource::ExistingWorkspace);
        source_.SetIsDirty(true, nullptr);
        Model view = play_.View();
        view.insert(saved_.begin(), saved_.end());
        play_.SetView(view);
    }

    static constexpr void (WorkspacePlay::*kOperations[])() = {
        &WorkspacePlay::WriteTemporary,  &WorkspacePlay::RequireView, &WorkspacePlay::Extract,
        &WorkspacePlay::Measure,         &WorkspacePlay::Save,        &WorkspacePlay::Save,
        &WorkspacePlay::SaveElsewhere,   &WorkspacePlay::Compact,     &WorkspacePlay::CloseSaving,
        &WorkspacePlay::CloseDiscarding, &WorkspacePlay::TakeUp};

    Decoder& input_;
    const std::string path_ = Folder() / "file";
    CompoundFileStreamSource source_{path_.c_str(), (Folder() / "workspace").c_str()};
    Play play_{input_, source_};
    Model saved_;
    bool hasTemporary_ = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    Decoder input(bytes, count);
    if (input.OneIn(3)) {
        PlayInMemory(input);
    } else {
        WorkspacePlay(input).Run();
    }
    return 0;
}
