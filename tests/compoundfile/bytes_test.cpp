#include "tests/compoundfile/FileTest.h"

#include <TALVOutl/MD5.h>

#include <cstdlib>
#include <ctime>

namespace {

std::time_t frozenTime = 0;

/// Stops the clock that the library sees, in the time zone UTC.
class FrozenTime {
public:
    FrozenTime() {
        setenv("TZ", "UTC", 1);
        tzset();
        frozenTime = 1000000000;
    }
    ~FrozenTime() { frozenTime = 0; }
    FrozenTime(const FrozenTime&) = delete;
    FrozenTime& operator=(const FrozenTime&) = delete;
};

} // namespace

extern "C" std::time_t time(std::time_t* out) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::time_t seconds = frozenTime != 0 ? frozenTime : now.tv_sec;
    if (out != nullptr) {
        *out = seconds;
    }
    return seconds;
}

namespace {

/// A life of a file in which blocks are appended, reused, freed and left free, by one stream and by
/// two at a time.
class BytesTest : public FileTest {
protected:
    void SetUp() override {}

    void Create() {
        Open();
        for (unsigned i = 0; i < 40; ++i) {
            const std::size_t sizes[] = {0, 1, 600, 1002, 1003, 2006, 5000, 40000};
            Put(file_, "entry " + std::to_string(i), Pattern(sizes[i % 8] + i / 8, i));
        }
        const auto left = file_.GetIOStream("left", "wb");
        const auto right = file_.GetIOStream("right", "wb");
        for (unsigned i = 0; i < 30; ++i) {
            WriteTo(left, Pattern(700, i), std::ios::end);
            WriteTo(right, Pattern(1500, i), std::ios::end);
        }
    }

    void Change() {
        for (unsigned i = 0; i < 40; i += 3) {
            file_.DeleteCFFile(("entry " + std::to_string(i)).c_str());
        }
        Put(file_, "entry 7", Pattern(3000, 100));
        Put(file_, "ENTRY 14", Pattern(90000, 101));
        const auto inPlace = file_.GetIOStream("entry 23", "r+b");
        inPlace->seekp(20000);
        inPlace->write(Pattern(30000, 102).data(), 30000);
    }

    std::string Digest() {
        const std::string bytes = ReadFile(path_);
        MD5 digest;
        digest.Update(bytes.data(), bytes.size());
        return digest.GetDigest();
    }

    const FrozenTime time_;
};

} // namespace

TEST_F(BytesTest, TheSameLifeMakesTheSameFile) {
    Create();
    file_.Close();
    EXPECT_EQ(Digest(), "7d4e0e669bfbe8764e0ab7e1a01413df");
    Open();
    Change();
    file_.Flush();
    EXPECT_EQ(Digest(), "e131c21baf02e7fd89f9036c403841e9");
    file_.Close();
    EXPECT_EQ(Digest(), "547c496e524171ae12a3eaecdb3782e2");
    Open();
    EXPECT_EQ(file_.Encrypt("password"), KrStreamE::Ok);
    Put(file_, "secret", Pattern(4000, 103));
    file_.DeleteCFFile("left");
    file_.Close();
    EXPECT_EQ(Digest(), "7faee229e7f8ec441ef739d42df4cf61");
    Open();
    file_.SetPassword("password");
    file_.DeleteCFFile("right");
    EXPECT_EQ(file_.Decrypt(), KrStreamE::Ok);
    ClosedSound();
    EXPECT_EQ(Digest(), "a58c9f603fcbd905a2de887b33fb7ced");
}
