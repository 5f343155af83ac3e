#include "tests/support/Entries.h"
#include "tests/support/RawFile.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <sstream>

namespace {

struct Failure {
    const char* name;
    bool throws;
    /// The operations after the failing one work again.
    bool once;
};

constexpr Failure kFailures[] = {{"short", false, false},
                                 {"short_once", false, true},
                                 {"throwing", true, false},
                                 {"throwing_once", true, true}};

/// A string buffer whose n-th read, write or sync fails: by a short count or by an exception.
class FailingBuffer : public std::stringbuf {
public:
    FailingBuffer(const std::string& bytes, int operations, const Failure& failure)
        : std::stringbuf(bytes), left_(operations), failure_(failure) {}

    bool HasFailed() const { return left_ < 0; }

protected:
    std::streamsize xsgetn(char* bytes, std::streamsize count) override {
        return std::stringbuf::xsgetn(bytes, Fails() ? count / 2 : count);
    }
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        // Half of the bytes still arrive, as on a disk that runs full.
        return std::stringbuf::xsputn(bytes, Fails() ? count / 2 : count);
    }
    int sync() override { return Fails() ? -1 : std::stringbuf::sync(); }

private:
    bool Fails() {
        if (--left_ >= 0 || (failure_.once && left_ < -1)) {
            return false;
        }
        if (failure_.throws) {
            throw std::runtime_error("no more input and output");
        }
        return true;
    }

    int left_;
    const Failure& failure_;
};

const Model kBefore = {{"a", Pattern(5000, 1)},
                       {"b", Pattern(1003, 2)},
                       {"c", Pattern(20, 3)},
                       {"d", Pattern(7000, 4)}};

struct Scenario {
    const char* name;
    std::function<bool(CompoundFile&)> run;
    /// Entries that it changes.
    std::string touched;
};

const Scenario kScenarios[] = {
    {"create",
     [](CompoundFile& file) {
         return Put(file, "e", Pattern(4000, 5)) && Put(file, "f", "") &&
                Put(file, "g", Pattern(1003, 6)) && Put(file, "h", Pattern(12000, 7));
     },
     "efgh"},
    {"replace", [](CompoundFile& file) { return Put(file, "a", Pattern(9000, 5)); }, "a"},
    {"extend",
     [](CompoundFile& file) {
         return WriteTo(file.GetIOStream("b", "r+b"), Pattern(3000, 5), std::ios::end);
     },
     "b"},
    // Needs other blocks while its own are still on their way.
    {"write_and_read",
     [](CompoundFile& file) {
         const auto stream = file.GetIOStream("a", "r+b");
         const std::string bytes = Pattern(4900, 5);
         bool done = stream != nullptr;
         for (int i = 0; i < 3; ++i) {
             done = done && stream->seekp(100).write(bytes.data(), 4900).flush().good();
             done = Get(file, "d") == kBefore.at("d") && done;
         }
         return done;
     },
     "a"},
    {"remove",
     [](CompoundFile& file) {
         return file.DeleteCFFile("a") && file.DeleteCFFile("d") && Put(file, "e", Pattern(900, 5));
     },
     "ade"},
    // Rewrites every payload where it stands, so an interrupted one leaves both forms.
    {"encipher",
     [](CompoundFile& file) {
         return file.Encrypt("secret") == KrStreamE::Ok && file.Encrypt("other") == KrStreamE::Ok &&
                file.Decrypt() == KrStreamE::Ok;
     },
     "abcd"},
    {"show",
     [](CompoundFile& file) {
         const std::string shown = file.FlushToString();
         CompoundFile copy;
         copy.Open(std::make_shared<std::stringstream>(shown), false);
         EXPECT_TRUE(shown.empty() || GetAll(copy) == kBefore);
         return !shown.empty();
     },
     ""},
    {"read", [](CompoundFile& file) { return GetAll(file) == kBefore; }, ""},
};

void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

/// What a scenario makes of the file when nothing fails.
Model After(const Scenario& scenario) {
    CompoundFile file;
    const auto stream = std::make_shared<std::stringstream>(FileOf(kBefore));
    EXPECT_EQ(file.Open(stream, true), KrStreamE::Ok);
    EXPECT_TRUE(scenario.run(file));
    return GetAll(file);
}

class FaultInjection : public testing::TestWithParam<Scenario> {
protected:
    void TearDown() override {
        SystemCalls::Reset();
        RecordProperty("faults", tried_);
        std::cout << tried_ << " faults\n";
    }

    /// Runs the scenario; whether the file says that all went well.
    static bool Run(CompoundFile& file, bool opened) {
        const bool done = opened && GetParam().run(file);
        file.Flush();
        return done && file.GetStatus() == KrStreamE::Ok;
    }

    /// Looks at what is left, through a file that was opened anew.
    void Look(CompoundFile& again, bool succeeded) {
        ++tried_;
        // A failed read may have been made good for; a failed write is always told.
        EXPECT_TRUE(!succeeded || GetAll(again) == expected_) << "a false success";
        // What was not touched is there, however much of the rest arrived.
        for (const auto& [name, bytes] : kBefore) {
            if (GetParam().touched.find(name) == std::string::npos) {
                EXPECT_TRUE(Get(again, name) == bytes) << name;
            }
        }
    }

    const std::string before_ = FileOf(kBefore);

private:
    const Model expected_ = After(GetParam());
    int tried_ = 0;
};

TEST_P(FaultInjection, AtEveryOperationOfAStreamEndsInAStatus) {
    for (const Failure& failure : kFailures) {
        bool passed = false;
        for (int n = 0; !passed; ++n) {
            SCOPED_TRACE(failure.name + std::to_string(n));
            ASSERT_LT(n, 2000);
            FailingBuffer buffer(before_, n, failure);
            const auto stream = std::make_shared<std::iostream>(&buffer);
            CompoundFile file;
            const bool succeeded = Run(file, file.Open(stream, true) == KrStreamE::Ok);
            EXPECT_TRUE(succeeded || buffer.HasFailed());
            const KrStreamE::Status status = file.GetStatus();
            EXPECT_EQ(file.Close(), status);
            passed = !buffer.HasFailed();

            RawFile after(buffer.str());
            after.bytes.resize(after.BlockCount() * 1024);
            CompoundFile again;
            ASSERT_EQ(again.Open(std::make_shared<std::stringstream>(after.bytes), false),
                      KrStreamE::Ok);
            Look(again, succeeded);
        }
    }
}

TEST_P(FaultInjection, AtEverySystemCallEndsInAStatus) {
    const TempFolder folder;
    const std::string path = folder / "file";
    for (const auto fault : SystemCalls::kFailures) {
        bool passed = false;
        for (int n = 0; !passed; ++n) {
            SCOPED_TRACE(std::to_string(static_cast<int>(fault)) + " at " + std::to_string(n));
            ASSERT_LT(n, 2000);
            boost::filesystem::remove(path);
            WriteFile(path, before_);
            CompoundFile file;
            SystemCalls::Expect(fault, n);
            const bool succeeded =
                Run(file, file.Open(path.c_str(), KrStreamE::ReadWrite) == KrStreamE::Ok);
            file.Close();
            passed = SystemCalls::Count() <= n;
            SystemCalls::Reset();
            EXPECT_TRUE(succeeded || (!passed && fault != SystemCalls::Fault::ShortOnce));

            ASSERT_EQ(file.Open(path.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
            Look(file, succeeded);
            EXPECT_TRUE(file.NeedsPassword() || Put(file, "later", Pattern(5000, 9)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, FaultInjection, testing::ValuesIn(kScenarios),
                         [](const auto& tested) { return tested.param.name; });

} // namespace
