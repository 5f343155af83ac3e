#include "tests/support/Entries.h"
#include "tests/support/RawFile.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <random>

namespace {

// The sound file has its directory in blocks 1 and 8; "a" in 2, 3, 4, "b" in 5, 6, "c" in 7, "d" in
// 9, 10, and the record of free blocks in 11.
const Model kSound = {{"a", Pattern(2500, 1)},
                      {"b", Pattern(1500, 2)},
                      {"c", Pattern(10, 3)},
                      {"d", Pattern(1100, 4)}};

std::string SoundFile() {
    const auto stream = std::make_shared<std::stringstream>();
    CompoundFile file;
    file.Open(stream);
    for (const auto& [name, bytes] : kSound) {
        Put(file, name, bytes);
    }
    file.Close();
    return stream->str();
}

struct Case {
    const char* name;
    std::function<void(RawFile&)> damage;
    /// Statuses of opening read only and read and write.
    KrStreamE::Status readOnly;
    KrStreamE::Status readWrite;
    /// Entries that the damage touches, of which nothing is asked but a safe answer.
    std::string touched;
    /// The status that reading the first of them whole leaves.
    KrStreamE::Status afterReading;
};

void SetNext(RawFile& raw, std::uint64_t block, std::uint64_t next) {
    raw.SetNumber(RawFile::At(block, 15), 4, next);
}

constexpr auto Ok = KrStreamE::Ok;
constexpr auto Failed = KrStreamE::Failed;
constexpr auto NotOpen = KrStreamE::NotOpen;
constexpr auto BeyondEnd = KrStreamE::BeyondEnd;

const Case kCases[] = {
    {"length", [](RawFile& raw) { raw.bytes += 'x'; }, NotOpen, NotOpen, "", Ok},
    {"signature", [](RawFile& raw) { raw.bytes[5] = 'X'; }, NotOpen, NotOpen, "", Ok},
    {"version3", [](RawFile& raw) { raw.bytes[13] = '3'; }, NotOpen, NotOpen, "", Ok},
    {"version0", [](RawFile& raw) { raw.bytes[13] = '0'; }, NotOpen, NotOpen, "", Ok},
    {"magic", [](RawFile& raw) { raw.bytes[982 + 14] = '!'; }, NotOpen, NotOpen, "", Ok},
    {"dir_number", [](RawFile& raw) { raw.bytes[0] = 2; }, NotOpen, NotOpen, "", Ok},
    {"dir_cycle", [](RawFile& raw) { SetNext(raw, 8, 1); }, NotOpen, NotOpen, "", Ok},
    {"dir_into_data", [](RawFile& raw) { SetNext(raw, 1, 5); }, NotOpen, NotOpen, "", Ok},
    {"dir_beyond", [](RawFile& raw) { SetNext(raw, 8, 900); }, NotOpen, NotOpen, "", Ok},
    {"cut_in_directory", [](RawFile& raw) { raw.bytes.resize(RawFile::At(8)); }, NotOpen, NotOpen,
     "", Ok},
    {"cut_in_data", [](RawFile& raw) { raw.bytes.resize(RawFile::At(10)); }, Ok, Ok, "d",
     BeyondEnd},
    {"cut_in_record", [](RawFile& raw) { raw.bytes.resize(RawFile::At(11)); }, Ok, Ok, "", Ok},
    {"number", [](RawFile& raw) { raw.SetNumber(RawFile::At(3), 4, 77); }, Ok, NotOpen, "a",
     Failed},
    {"padding", [](RawFile& raw) { raw.SetNumber(RawFile::At(6), 4, 5); }, Ok, NotOpen, "b",
     Failed},
    {"data_signature", [](RawFile& raw) { raw.bytes[RawFile::At(6, 5)] = 'X'; }, Ok, NotOpen, "b",
     Ok},
    {"used", [](RawFile& raw) { raw.SetNumber(RawFile::At(4, 19), 2, 1004); }, Ok, Ok, "a", Failed},
    {"used_small", [](RawFile& raw) { raw.SetNumber(RawFile::At(4, 19), 2, 3); }, Ok, Ok, "a", Ok},
    {"size", [](RawFile& raw) { raw.SetNumber(19 + 313, 8, ~std::uint64_t{0}); }, Ok, Ok, "a", Ok},
    {"chain_cut", [](RawFile& raw) { SetNext(raw, 2, 0); }, Ok, Ok, "a", Ok},
    {"chain_beyond", [](RawFile& raw) { SetNext(raw, 3, 5000); }, Ok, Ok, "a", BeyondEnd},
    {"chain_far_beyond", [](RawFile& raw) { SetNext(raw, 3, 0xFFFFFFFF); }, Ok, Ok, "a", BeyondEnd},
    {"chain_into_directory", [](RawFile& raw) { SetNext(raw, 2, 8); }, Ok, Ok, "a", Failed},
    {"chain_cycle",
     [](RawFile& raw) {
         SetNext(raw, 4, 2);
         raw.SetNumber(19 + 313, 8, std::uint64_t{1} << 40);
     },
     Ok, Ok, "a", Failed},
    {"chain_to_itself", [](RawFile& raw) { SetNext(raw, 4, 4); }, Ok, Ok, "a", Ok},
    {"cross_link", [](RawFile& raw) { SetNext(raw, 2, 6); }, Ok, Ok, "a", Ok},
    {"cross_link_to_first", [](RawFile& raw) { SetNext(raw, 4, 5); }, Ok, Ok, "a", Ok},
    {"shared_first", [](RawFile& raw) { raw.SetNumber(19 + 309, 4, 5); }, Ok, Ok, "a", Ok},
    {"first_beyond", [](RawFile& raw) { raw.SetNumber(19 + 309, 4, 700); }, Ok, Ok, "a", BeyondEnd},
    {"first_is_directory", [](RawFile& raw) { raw.SetNumber(19 + 309, 4, 1); }, Ok, Ok, "a",
     Failed},
    {"same_names", [](RawFile& raw) { raw.bytes[340] = 'A'; }, Ok, Ok, "ab", Ok},
    {"free_list_cycle", [](RawFile& raw) { SetNext(raw, 11, 11); }, Ok, Ok, "", Ok},
    {"free_list_highest",
     [](RawFile& raw) { raw.SetNumber(RawFile::At(11, 21 + 16), 4, 0xFFFFFFF0); }, Ok, Ok, "", Ok},
    {"free_list_all_free",
     [](RawFile& raw) { raw.bytes.replace(RawFile::At(11, 21 + 20), 12, std::string(12, '\0')); },
     Ok, Ok, "", Ok},
    {"all_marked_free",
     [](RawFile& raw) {
         for (std::size_t block = 2; block <= raw.BlockCount(); ++block) {
             raw.bytes[RawFile::At(block, 4)] = 0;
         }
     },
     Ok, Ok, "", Ok},
};

void PrintTo(const Case& damage, std::ostream* out) {
    *out << damage.name;
}

class Damage : public testing::TestWithParam<Case> {
protected:
    void SetUp() override {
        RawFile raw(SoundFile());
        ASSERT_EQ(raw.Faults(), "");
        GetParam().damage(raw);
        bytes_ = raw.bytes;
    }
    bool IsTouched(const std::string& name) const {
        return GetParam().touched.find(name) != std::string::npos;
    }
    Model Untouched() const {
        Model model;
        for (const auto& entry : kSound) {
            if (!IsTouched(entry.first)) {
                model.insert(entry);
            }
        }
        return model;
    }
    /// Each entry through an engine of its own, since reading a damaged one fails its
    /// engine.
    void ExpectWhole(const Model& entries, const std::string& bytes,
                     const std::string& after) const {
        for (const auto& [name, content] : entries) {
            CompoundFile file;
            WriteFile(path_, bytes);
            ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadOnly), Ok) << after;
            EXPECT_TRUE(Get(file, name) == content) << name << " after " << after;
        }
    }
    void OpenAs(CompoundFile& file, KrStreamE::Status expected, KrStreamE::OpenMode mode) const {
        WriteFile(path_, bytes_);
        ASSERT_EQ(file.Open(path_.c_str(), mode), expected);
    }

    TempFolder folder_;
    const std::string path_ = folder_ / "file";
    std::string bytes_;
};

TEST_P(Damage, OpensAndReadsSafely) {
    CompoundFile file;
    OpenAs(file, GetParam().readOnly, KrStreamE::ReadOnly);
    if (GetParam().readOnly == Ok) {
        if (!GetParam().touched.empty()) {
            Get(file, GetParam().touched.substr(0, 1));
            EXPECT_EQ(file.GetStatus(), GetParam().afterReading);
        }
        file.Close();
        EXPECT_EQ(ReadFile(path_), bytes_);
        ExpectWhole(Untouched(), bytes_, "reading");
    }
    OpenAs(file, GetParam().readWrite, KrStreamE::ReadWrite);
    file.Close();
    EXPECT_EQ(ReadFile(path_), bytes_);
}

// Whatever is done to the damaged entry, and to the file after it, the other entries stay whole.
TEST_P(Damage, ChangesLeaveTheRestWhole) {
    if (GetParam().readWrite != Ok) {
        return;
    }
    const std::string name = GetParam().touched.substr(0, 1);
    const std::map<std::string, std::function<void(CompoundFile&)>> changes = {
        {"delete", [&](CompoundFile& file) { file.DeleteCFFile(name.c_str()); }},
        {"replace", [&](CompoundFile& file) { Put(file, name, Pattern(9000, 5)); }},
        {"append",
         [&](CompoundFile& file) {
             if (const auto stream = file.GetIOStream(name.c_str(), "r+b")) {
                 stream->seekp(0, std::ios::end).write(Pattern(9000, 6).data(), 9000);
             }
         }},
        {"overwrite",
         [&](CompoundFile& file) {
             if (const auto stream = file.GetIOStream(name.c_str(), "r+b")) {
                 stream->write(Pattern(2400, 7).data(), 2400);
             }
         }},
        {"encrypt",
         [&](CompoundFile& file) {
             if (file.Encrypt("secret") == Ok) {
                 EXPECT_EQ(file.Decrypt(), Ok);
             }
         }},
    };
    for (const auto& [what, change] : changes) {
        CompoundFile file;
        OpenAs(file, Ok, KrStreamE::ReadWrite);
        change(file);
        file.Close();
        Model whole = Untouched();
        ExpectWhole(whole, ReadFile(path_), what);

        ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), Ok) << what;
        EXPECT_TRUE(Put(file, "new", Pattern(20000, 8))) << what;
        file.DeleteCFFile(name.c_str());
        file.Close();
        ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), Ok) << what;
        EXPECT_TRUE(Put(file, "newer", Pattern(20000, 9))) << what;
        file.Close();
        whole["new"] = Pattern(20000, 8);
        whole["newer"] = Pattern(20000, 9);
        ExpectWhole(whole, ReadFile(path_), what + " and new entries");
        for (const auto& entry : Untouched()) {
            ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), Ok) << what;
            EXPECT_TRUE(Put(file, entry.first, "replaced")) << what << entry.first;
            file.Close();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, Damage, testing::ValuesIn(kCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(DamagedTexts, AreReadToTheEndOfTheirField) {
    RawFile raw(SoundFile());
    raw.bytes.replace(19, 257 + 26 + 26, std::string(257 + 26 + 26, 'n'));
    const auto stream = std::make_shared<std::stringstream>(raw.bytes);
    CompoundFile file;
    ASSERT_EQ(file.Open(stream, true), Ok);
    unsigned long index = 0;
    const DirEntry* const entry = file.GetFirstDirEntry(&index);
    EXPECT_EQ(entry->name, std::string(256, 'n'));
    EXPECT_EQ(entry->created, std::string(25, 'n'));
    EXPECT_TRUE(Get(file, std::string(256, 'n')) == kSound.at("a"));
    EXPECT_TRUE(file.DeleteCFFile(std::string(256, 'N').c_str()));
}

TEST(DamagedVersions, SignatureIsReadLeniently) {
    const std::map<std::string, bool> signatures = {
        {std::string("Block   2\0", 10), true},  {std::string("Block2\0\0\0\0", 10), true},
        {std::string("Block  +2\0", 10), true},  {std::string("Block  2X\0", 10), false},
        {std::string("Block  -2\0", 10), false}, {std::string("Block\0\0\0\0\0", 10), false},
        {std::string("Block    2", 10), true},   {std::string("block   2\0", 10), false}};
    for (const auto& [signature, sound] : signatures) {
        RawFile raw(SoundFile());
        raw.bytes.replace(5, 10, signature);
        CompoundFile file;
        EXPECT_EQ(file.Open(std::make_shared<std::stringstream>(raw.bytes), false),
                  sound ? Ok : NotOpen)
            << signature;
    }
}

// Random changes of bytes and links; the answer may be anything but a crash, a hang or damage that
// sanitizers see.
TEST(DamagedAtRandom, EveryAnswerIsSafe) {
    const std::string sound = SoundFile();
    for (unsigned seed = 1; seed <= 400; ++seed) {
        std::mt19937 random(seed);
        RawFile raw(sound);
        for (unsigned change = 0; change <= seed % 4; ++change) {
            const std::uint64_t block = random() % raw.BlockCount() + 1;
            if (random() % 2 == 0) {
                SetNext(raw, block, random() % (raw.BlockCount() + 2));
            } else {
                raw.bytes[RawFile::At(block, random() % 1024)] = static_cast<char>(random());
            }
        }
        CompoundFile file;
        if (file.Open(std::make_shared<std::stringstream>(raw.bytes), false) != Ok) {
            continue;
        }
        GetAll(file);
        Put(file, "a", Pattern(3000, 1));
        Put(file, "new", Pattern(3000, 1));
        file.DeleteCFFile("b");
        file.Encrypt("secret");
        EXPECT_LT(file.FlushToString().size(), sound.size() * 2) << seed;
    }
}

} // namespace
