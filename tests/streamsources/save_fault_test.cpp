#include "tests/streamsources/Project.h"
#include "tests/support/SystemCalls.h"

#include <TALVOutl/Exception.h>

#include <functional>

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

    void StartOver() {
        fs::remove_all(workspace_);
        fs::remove(copy_);
        fs::remove(compacted_);
        WriteFile(path_, project_);
    }

    static bool Edit(Source& source) {
        const bool edited = source.Open(Source::NewWorkspace, false) == Source::NoError &&
                            Read(source, "empty") && Write(source, "a", kEdits.at("a")) &&
                            Write(source, "new", kEdits.at("new"));
        source.DeleteSource("b");
        return edited;
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

TEST_P(SaveFault, DiskFullFromAnywhereOn) {
    bool struck = true;
    int point = 0;
    for (; struck && !HasFailure(); ++point) {
        SCOPED_TRACE(point);
        StartOver();
        auto source = std::make_unique<Source>(path_.c_str(), workspace_.c_str());
        ASSERT_TRUE(Edit(*source));
        SystemCalls::Expect(SystemCalls::Fault::DiskFull, point);
        const bool saved = GetParam().save(*source, copy_);
        struck = SystemCalls::Count() > point;
        SystemCalls::Reset();
        EXPECT_TRUE(saved || struck);
        // A compacted file that cannot be opened again has everything.
        EXPECT_TRUE(saved || source->IsDirty() || source->GetFilePath().empty());
        source.reset();
        Inspect();
    }
    RecordProperty("points", point);
    EXPECT_GT(point, 5);
}

INSTANTIATE_TEST_SUITE_P(, SaveFault, testing::ValuesIn(kWays),
                         [](const auto& way) { return std::string(way.param.name); });

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
