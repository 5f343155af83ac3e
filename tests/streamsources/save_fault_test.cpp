#include "tests/crash/Disk.h"
#include "tests/streamsources/Project.h"
#include "tests/support/SystemCalls.h"

#include <TALVOutl/Exception.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <random>

#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = boost::filesystem;

/// A way to save; whether it says that all went well.
struct Way {
    const char* name;
    std::function<bool(Source&, const std::string& copy)> save;
};

const Way kWays[] = {
    {"incrementally",
     [](Source& source, const std::string&) {
         return source.Close(Source::SaveChanges, false) == Source::NoError;
     }},
    {"elsewhere",
     [](Source& source, const std::string& copy) {
         return source.SaveAs(copy.c_str()) == Source::NoError;
     }},
    {"compacting",
     [](Source& source, const std::string&) {
         try {
             source.CompactCompoundFile();
             return true;
         } catch (const Exception&) {
             return false;
         }
     }},
};

/// A save in which "a" is replaced, "b" deleted and "new" added, while one of the system calls that
/// change files fails, or is the program's last one. The other streams are untouched.
class SaveFault : public Project, public testing::WithParamInterface<Way> {
protected:
    void TearDown() override { SystemCalls::Reset(); }

    void StartOver() { WriteDisk({{path_, project_}}, folder_ / ""); }

    bool Edit(Source& source) const {
        const bool edited =
            source.Open(Source::NewWorkspace, false) == Source::NoError && Read(source, "empty");
        for (const auto& [name, bytes] : kEdits) {
            WriteFile(InWorkspace(name), bytes);
            source.SetIsDirty(true, name.c_str());
        }
        source.DeleteSource("b");
        return edited;
    }

    /// Notes what a save does to the disk.
    void Record() {
        StartOver();
        Source source(path_.c_str(), workspace_.c_str());
        ASSERT_TRUE(Edit(source));
        before_ = ReadDisk(folder_ / "");
        SystemCalls::Record(&done_, folder_ / "");
        ASSERT_TRUE(GetParam().save(source, copy_));
        SystemCalls::Record(nullptr);
    }

    /// Whether one of the first `count` operations on the disk has made sure of operation `i`.
    bool IsSynced(std::size_t i, std::size_t count) const {
        const std::string& path = done_[i].path;
        const bool isWrite = done_[i].kind == SystemCalls::Operation::Kind::Write;
        return std::any_of(done_.begin() + static_cast<std::ptrdiff_t>(i),
                           done_.begin() + static_cast<std::ptrdiff_t>(count),
                           [&](const SystemCalls::Operation& later) {
                               return later.kind == SystemCalls::Operation::Kind::Sync &&
                                      fs::path(later.path) ==
                                          (isWrite ? fs::path(path) : fs::path(path).parent_path());
                           });
    }

    static bool HasEdits(const std::string& file) {
        Model found = fs::exists(file) ? GetAll(file) : Model();
        return std::all_of(kEdits.begin(), kEdits.end(),
                           [&found](const auto& edit) { return found[edit.first] == edit.second; });
    }

    /// What is on disk once the program is gone.
    void Inspect() {
        const std::string file = fs::exists(path_) ? path_ : compacted_;
        Model found = GetAll(file);
        for (const char* untouched : {"empty", "Mixed.Case"}) {
            EXPECT_TRUE(found[untouched] == kStreams.at(untouched)) << untouched;
        }
        EXPECT_TRUE(found.count("b") == 0 || found["b"] == kStreams.at("b")) << "no foreign bytes";
        Model compacted = fs::exists(compacted_) ? GetAll(compacted_) : Model();
        for (const auto& [name, bytes] : kEdits) {
            EXPECT_TRUE(found[name] == bytes || compacted[name] == bytes ||
                        (HasFile(name) && ReadFile(InWorkspace(name)) == bytes))
                << name << " is nowhere";
        }
        if (fs::exists(workspace_)) {
            TakeUp(file);
        }
    }

    /// The next program saves what it finds in the workspace.
    void TakeUp(const std::string& file) {
        Source next(file.c_str(), workspace_.c_str());
        ASSERT_EQ(next.Open(Source::ExistingWorkspace, false), Source::NoError);
        next.SetIsDirty(true, nullptr);
        const bool hasEdit = HasFile("a");
        ASSERT_EQ(next.Close(Source::SaveChanges, false), Source::NoError);
        Model saved = GetAll(file);
        EXPECT_TRUE(saved["Mixed.Case"] == kStreams.at("Mixed.Case"));
        EXPECT_TRUE(!hasEdit || saved["a"] == kEdits.at("a"));
        saved.erase("b");
        EXPECT_LE(saved.size(), 4U) << "nothing half-made is taken for a stream";
    }

    inline static const Model kEdits = {{"a", Pattern(40000, 7)}, {"new", Pattern(30000, 8)}};

    const std::string project_ = ReadFile(path_);
    const std::string copy_ = folder_ / "copy";
    Disk before_;
    Operations done_;
    const std::string compacted_ = folder_ / "dravoptmpA.kdp";
};

TEST_P(SaveFault, KilledAnywhere) {
    bool killed = true;
    int point = 0;
    for (; killed && !HasFailure(); ++point) {
        SCOPED_TRACE(point);
        StartOver();
        const pid_t child = fork();
        if (child == 0) {
            const bool edited = Edit(source_);
            SystemCalls::Expect(SystemCalls::Fault::Kill, point);
            _exit(edited && GetParam().save(source_, copy_) ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        killed = WIFSIGNALED(status);
        ASSERT_TRUE(killed || WEXITSTATUS(status) == 0);
        Inspect();
    }
    RecordProperty("points", point);
    EXPECT_GT(point, 5);
}

TEST_P(SaveFault, FailingCallsAnywhere) {
    int points = 0;
    for (const auto fault : SystemCalls::kFailures) {
        bool struck = true;
        for (int point = 0; struck && !HasFailure(); ++point, ++points) {
            SCOPED_TRACE(std::to_string(static_cast<int>(fault)) + " at " + std::to_string(point));
            StartOver();
            auto source = std::make_unique<Source>(path_.c_str(), workspace_.c_str());
            ASSERT_TRUE(Edit(*source));
            SystemCalls::Expect(fault, point);
            const bool saved = GetParam().save(*source, copy_);
            struck = SystemCalls::Count() > point;
            SystemCalls::Reset();
            EXPECT_TRUE(saved || struck);
            const bool isDirty = source->IsDirty();
            source.reset();
            EXPECT_TRUE(saved ? HasEdits(fs::exists(copy_) ? copy_ : path_)
                              : isDirty || HasEdits(path_) || HasEdits(compacted_))
                << "forgets what it has not saved";
            Inspect();
        }
    }
    RecordProperty("points", points);
    std::cout << points << " faults\n";
    EXPECT_GT(points, 20);
}

TEST_P(SaveFault, KilledInsideAnyWrite) {
    Record();
    Disk disk = before_;
    for (const SystemCalls::Operation& operation : done_) {
        for (const SystemCalls::Operation& part : PartsOf(operation, kPage)) {
            Disk cut = disk;
            Do(part, cut);
            WriteDisk(cut, folder_ / "");
            Inspect();
        }
        Do(operation, disk);
    }
}

INSTANTIATE_TEST_SUITE_P(, SaveFault, testing::ValuesIn(kWays),
                         [](const auto& way) { return std::string(way.param.name); });

/// Saves that give up no bytes before others are on disk.
using SyncedSave = SaveFault;

TEST_P(SyncedSave, OutlastsAPowerLoss) {
    Record();
    for (unsigned seed = 0; seed < 8 * done_.size() && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const std::size_t count = seed % done_.size() + 1;
        Disk disk = before_;
        for (std::size_t i = 0; i < count; ++i) {
            if (IsSynced(i, count) || random() % 2 == 0) {
                Do(done_[i], disk);
            }
        }
        WriteDisk(disk, folder_ / "");
        Inspect();
    }
}

// An incremental save changes the file in place. What stands for it meanwhile goes last.
TEST_P(SaveFault, SyncsBeforeTheWorkspaceGoes) {
    Record();
    const auto removal =
        std::find_if(done_.begin(), done_.end(), [this](const SystemCalls::Operation& operation) {
            return operation.kind == SystemCalls::Operation::Kind::Remove &&
                   operation.path.find(workspace_) == 0;
        });
    for (auto write = done_.begin(); write != removal; ++write) {
        const bool isSafe = write->kind != SystemCalls::Operation::Kind::Write ||
                            removal == done_.end() ||
                            IsSynced(static_cast<std::size_t>(write - done_.begin()),
                                     static_cast<std::size_t>(removal - done_.begin()));
        EXPECT_TRUE(isSafe) << write->path << " at " << write->offset;
    }
}

INSTANTIATE_TEST_SUITE_P(, SyncedSave, testing::Values(kWays[1], kWays[2]),
                         [](const auto& way) { return std::string(way.param.name); });

// What a save from memory could not write is still in memory, and the next one brings all of it.
TEST(MemorySave, KeepsEverythingWhateverFails) {
    const TempFolder folder;
    const std::string path = folder / "file";
    const Model streams = {{"a", Pattern(3000, 1)}, {"b", ""}, {"c", Pattern(1003, 2)}};
    MemCompoundFileStreamSource source;
    source.Open();
    for (const auto& [name, bytes] : streams) {
        *source.GetOStream(name.c_str()) << bytes;
    }
    int points = 0;
    for (const auto fault : SystemCalls::kFailures) {
        bool struck = true;
        for (int point = 0; struck; ++point, ++points) {
            SystemCalls::Expect(fault, point);
            source.Save(path.c_str());
            struck = SystemCalls::Count() > point;
            SystemCalls::Reset();
            ASSERT_TRUE(source.Save(path.c_str()));
            ASSERT_EQ(GetAll(path), streams) << "point " << point;
        }
    }
    EXPECT_GT(points, 4);
}

using SaveCost = Project;

TEST_F(SaveCost, IsThatOfTheStreamsThatChanged) {
    constexpr std::size_t kSize = 65536;
    Model streams;
    for (unsigned i = 0; i < 200; ++i) {
        streams["stream" + std::to_string(i)] = Pattern(kSize, i);
    }
    WriteFile(path_, FileOf(streams));
    Open();
    ASSERT_TRUE(Read(source_, "stream7"));
    ASSERT_TRUE(Write(source_, "stream100", Pattern(kSize, 999)));
    SystemCalls::Expect(SystemCalls::Fault::None, 0);
    ASSERT_EQ(source_.Close(Source::SaveChanges, false), Source::NoError);
    EXPECT_LT(SystemCalls::BytesWritten(), 4 * kSize);
}

} // namespace
