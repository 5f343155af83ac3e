#include "tests/compoundfile/FileTest.h"
#include "tests/support/SystemCalls.h"

namespace {

constexpr int kStreams = 300;

std::string NameOf(int stream) {
    return "stream " + std::to_string(stream);
}

void CreateSmall(CompoundFile& file) {
    for (int stream = 0; stream < kStreams; ++stream) {
        ASSERT_TRUE(Put(file, NameOf(stream), Pattern(600, static_cast<unsigned>(stream))));
    }
}

/// A work, and how many system calls may change the file in it.
struct Work {
    const char* name;
    /// Begins with the small streams instead of an empty file.
    bool onStreams;
    void (*run)(CompoundFile& file);
    int mostCalls;
};

// What is slow shows as calls where what is quick could share one.
const Work kWorks[] = {
    // A stream's block and its record leave together, and each new directory block is linked to the
    // one before.
    {"create_small", false, CreateSmall, kStreams + kStreams / 3 + 2},
    {"create_large", false,
     [](CompoundFile& file) { ASSERT_TRUE(Put(file, "large", Pattern(4 << 20, 1))); }, 40},
    {"replace_small", true,
     [](CompoundFile& file) { ASSERT_TRUE(Put(file, NameOf(7), Pattern(600, 1))); }, 3},
    // The directory's blocks one by one, and then the marks of the freed ones in few pieces.
    {"delete_all", true,
     [](CompoundFile& file) {
         for (int stream = 0; stream < kStreams; ++stream) {
             ASSERT_TRUE(file.DeleteCFFile(NameOf(stream).c_str()));
         }
         file.Flush();
     },
     kStreams / 3 + 10},
    {"read", true, [](CompoundFile& file) { EXPECT_EQ(GetAll(file).size(), kStreams); }, 0},
};

class CallsTest : public FileTest, public testing::WithParamInterface<Work> {};

TEST_P(CallsTest, AreFew) {
    if (GetParam().onStreams) {
        CreateSmall(file_);
        Open();
    }
    SystemCalls::Expect(SystemCalls::Fault::None, 0);
    GetParam().run(file_);
    EXPECT_LE(SystemCalls::Count(), GetParam().mostCalls);
    SystemCalls::Reset();
}

INSTANTIATE_TEST_SUITE_P(Each, CallsTest, testing::ValuesIn(kWorks),
                         [](const auto& work) { return std::string(work.param.name); });

} // namespace
