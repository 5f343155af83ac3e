#include "tests/support/Entries.h"
#include "tests/support/RawFile.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

namespace {

/// A string buffer whose n-th read or write, and every later one, fails: by a short count or by an
/// exception.
class FailingBuffer : public std::stringbuf {
public:
    FailingBuffer(const std::string& bytes, int operations, bool throws)
        : std::stringbuf(bytes), left_(operations), throws_(throws) {}

    bool HasFailed() const { return left_ < 0; }

protected:
    std::streamsize xsgetn(char* bytes, std::streamsize count) override {
        return Fails() ? 0 : std::stringbuf::xsgetn(bytes, count);
    }
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        // Half of the bytes still arrive, as on a disk that runs full.
        return std::stringbuf::xsputn(bytes, Fails() ? count / 2 : count);
    }
    int sync() override { return Fails() ? -1 : std::stringbuf::sync(); }

private:
    bool Fails() {
        if (--left_ >= 0) {
            return false;
        }
        if (throws_) {
            throw std::runtime_error("no more input and output");
        }
        return true;
    }

    int left_;
    const bool throws_;
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
    {"remove",
     [](CompoundFile& file) {
         return file.DeleteCFFile("a") && file.DeleteCFFile("d") && Put(file, "e", Pattern(900, 5));
     },
     "ade"},
    // Rewrites every payload where it stands, so an interrupted one leaves both forms.
    {"encipher",
     [](CompoundFile& file) {
         return file.Encrypt("secret") == KrStreamE::Ok && file.Decrypt() == KrStreamE::Ok;
     },
     "abcd"},
    {"read", [](CompoundFile& file) { return GetAll(file) == kBefore; }, ""},
};

void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

class Fault : public testing::TestWithParam<Scenario> {};

TEST_P(Fault, AtEveryOperationEndsInAStatus) {
    const std::string before = FileOf(kBefore);
    for (const bool throws : {false, true}) {
        bool passed = false;
        for (int n = 0; !passed; ++n) {
            ASSERT_LT(n, 2000);
            FailingBuffer buffer(before, n, throws);
            const auto stream = std::make_shared<std::iostream>(&buffer);
            CompoundFile file;
            const bool opened = file.Open(stream, true) == KrStreamE::Ok;
            const bool done = opened && GetParam().run(file);
            if (buffer.HasFailed()) {
                EXPECT_TRUE(!done || file.GetStatus() == KrStreamE::Failed) << n;
            } else {
                EXPECT_TRUE(done && file.GetStatus() == KrStreamE::Ok) << n;
            }
            const KrStreamE::Status status = file.GetStatus();
            EXPECT_EQ(file.Close(), status) << n;
            passed = !buffer.HasFailed();

            // What was not touched is there, however much of the rest arrived.
            RawFile after(buffer.str());
            after.bytes.resize(after.BlockCount() * 1024);
            CompoundFile again;
            ASSERT_EQ(again.Open(std::make_shared<std::stringstream>(after.bytes), false),
                      KrStreamE::Ok)
                << n;
            for (const auto& [name, bytes] : kBefore) {
                if (GetParam().touched.find(name) == std::string::npos) {
                    EXPECT_TRUE(Get(again, name) == bytes) << n << name;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, Fault, testing::ValuesIn(kScenarios),
                         [](const auto& tested) { return tested.param.name; });

} // namespace
