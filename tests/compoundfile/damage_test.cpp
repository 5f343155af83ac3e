#include "FileTest.h"

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

constexpr auto Ok = KrStreamE::Ok;
constexpr auto Failed = KrStreamE::Failed;
constexpr auto NotOpen = KrStreamE::NotOpen;
constexpr auto BeyondEnd = KrStreamE::BeyondEnd;

struct Case {
    const char* name;
    std::function<void(RawFile&)> damage;
    /// Entries that the damage touches, of which nothing is asked but a safe answer.
    std::string touched;
    /// The status that reading the first of them whole leaves.
    KrStreamE::Status afterReading = Ok;
    /// Statuses of opening read and write, and read only.
    KrStreamE::Status readWrite = Ok;
    KrStreamE::Status readOnly = Ok;
};

void SetNext(RawFile& raw, std::uint64_t block, std::uint64_t next) {
    raw.SetNumber(RawFile::At(block, 15), 4, next);
}

const Case kCases[] = {
    {"length", [](RawFile& raw) { raw.bytes += 'x'; }, "", Ok, NotOpen, NotOpen},
    {"magic", [](RawFile& raw) { raw.bytes[982 + 14] = '!'; }, "", Ok, NotOpen, NotOpen},
    {"dir_number", [](RawFile& raw) { raw.bytes[0] = 2; }, "", Ok, NotOpen, NotOpen},
    {"dir_cycle", [](RawFile& raw) { SetNext(raw, 8, 1); }, "", Ok, NotOpen, NotOpen},
    {"dir_into_data", [](RawFile& raw) { SetNext(raw, 1, 5); }, "", Ok, NotOpen, NotOpen},
    {"dir_beyond", [](RawFile& raw) { SetNext(raw, 8, 900); }, "", Ok, NotOpen, NotOpen},
    {"cut_in_directory", [](RawFile& raw) { raw.bytes.resize(RawFile::At(8)); }, "", Ok, NotOpen,
     NotOpen},
    {"cut_in_data", [](RawFile& raw) { raw.bytes.resize(RawFile::At(10)); }, "d", BeyondEnd},
    {"cut_in_record", [](RawFile& raw) { raw.bytes.resize(RawFile::At(11)); }, ""},
    {"number", [](RawFile& raw) { raw.SetNumber(RawFile::At(3), 4, 77); }, "a", Failed, NotOpen},
    {"padding", [](RawFile& raw) { raw.SetNumber(RawFile::At(6), 4, 5); }, "b", Failed, NotOpen},
    {"data_signature", [](RawFile& raw) { raw.bytes[RawFile::At(6, 5)] = 'X'; }, "b", Ok, NotOpen},
    {"used", [](RawFile& raw) { raw.SetNumber(RawFile::At(4, 19), 2, 1004); }, "a", Failed},
    {"used_small", [](RawFile& raw) { raw.SetNumber(RawFile::At(4, 19), 2, 3); }, "a"},
    {"size", [](RawFile& raw) { raw.SetNumber(19 + 313, 8, ~std::uint64_t{0}); }, "a"},
    {"chain_cut", [](RawFile& raw) { SetNext(raw, 2, 0); }, "a"},
    {"chain_beyond", [](RawFile& raw) { SetNext(raw, 3, 5000); }, "a", BeyondEnd},
    {"chain_far_beyond", [](RawFile& raw) { SetNext(raw, 3, 0xFFFFFFFF); }, "a", BeyondEnd},
    {"chain_into_directory", [](RawFile& raw) { SetNext(raw, 2, 8); }, "a", Failed},
    {"chain_cycle",
     [](RawFile& raw) {
         SetNext(raw, 4, 2);
         raw.SetNumber(19 + 313, 8, std::uint64_t{1} << 40);
     },
     "a", Failed},
    {"chain_to_itself", [](RawFile& raw) { SetNext(raw, 4, 4); }, "a"},
    {"cross_link", [](RawFile& raw) { SetNext(raw, 2, 6); }, "a"},
    {"cross_link_to_first", [](RawFile& raw) { SetNext(raw, 4, 5); }, "a"},
    {"shared_first", [](RawFile& raw) { raw.SetNumber(19 + 309, 4, 5); }, "a"},
    {"first_beyond", [](RawFile& raw) { raw.SetNumber(19 + 309, 4, 700); }, "a", BeyondEnd},
    {"first_is_directory", [](RawFile& raw) { raw.SetNumber(19 + 309, 4, 1); }, "a", Failed},
    {"same_names", [](RawFile& raw) { raw.bytes[340] = 'A'; }, "ab"},
    {"free_list_cycle", [](RawFile& raw) { SetNext(raw, 11, 11); }, ""},
    {"free_list_highest",
     [](RawFile& raw) { raw.SetNumber(RawFile::At(11, 21 + 16), 4, 0xFFFFFFF0); }, ""},
    {"free_list_all_free",
     [](RawFile& raw) { raw.bytes.replace(RawFile::At(11, 21 + 20), 12, std::string(12, '\0')); },
     ""},
    {"all_marked_free",
     [](RawFile& raw) {
         for (std::size_t block = 1; block <= raw.BlockCount(); ++block) {
             raw.bytes[RawFile::At(block, 4)] = 0;
         }
     },
     ""},
};

void PrintTo(const Case& damage, std::ostream* out) {
    *out << damage.name;
}

class Damage : public FileTest, public testing::WithParamInterface<Case> {
protected:
    void SetUp() override {
        RawFile raw(FileOf(kSound));
        WriteFile(path_, raw.bytes);
        ASSERT_EQ(Findings(path_), "");
        GetParam().damage(raw);
        bytes_ = raw.bytes;
    }
    /// What is left in the file is damaged.
    void TearDown() override {}
    Model Untouched() const {
        Model model = kSound;
        for (const char name : GetParam().touched) {
            model.erase(std::string(1, name));
        }
        return model;
    }
    /// Each entry through an engine of its own, since reading a damaged one fails its
    /// engine.
    void ExpectWhole(const Model& entries, const std::string& bytes, const std::string& after) {
        for (const auto& [name, content] : entries) {
            OpenWith(bytes, KrStreamE::ReadOnly);
            EXPECT_TRUE(Get(file_, name) == content) << name << " after " << after;
        }
        file_.Close();
    }

    std::string bytes_;
};

TEST_P(Damage, OpensAndReadsSafely) {
    WriteFile(path_, bytes_);
    ASSERT_EQ(file_.Open(path_.c_str(), KrStreamE::ReadOnly), GetParam().readOnly);
    if (GetParam().readOnly == Ok) {
        if (!GetParam().touched.empty()) {
            Get(file_, GetParam().touched.substr(0, 1));
            EXPECT_EQ(file_.GetStatus(), GetParam().afterReading);
        }
        file_.Close();
        EXPECT_EQ(ReadFile(path_), bytes_);
        ExpectWhole(Untouched(), bytes_, "reading");
    }
    ASSERT_EQ(file_.Open(path_.c_str(), KrStreamE::ReadWrite), GetParam().readWrite);
    file_.Close();
    EXPECT_EQ(ReadFile(path_), bytes_);
}

// Whatever is done to the damaged entry, and to the file after it, the other entries stay whole.
TEST_P(Damage, ChangesLeaveTheRestWhole) {
    if (GetParam().readWrite != Ok) {
        return;
    }
    const std::string name = GetParam().touched.substr(0, 1);
    const auto stream = [&] { return file_.GetIOStream(name.c_str(), "r+b"); };
    const std::map<std::string, std::function<void()>> changes = {
        {"delete", [&] { file_.DeleteCFFile(name.c_str()); }},
        {"replace", [&] { Put(file_, name, Pattern(9000, 5)); }},
        {"append", [&] { WriteTo(stream(), Pattern(9000, 6), std::ios::end); }},
        {"overwrite", [&] { WriteTo(stream(), Pattern(2400, 7)); }},
        {"encrypt",
         [&] {
             const bool done = file_.Encrypt("secret") == Ok;
             EXPECT_TRUE(!done || Put(file_, "more", Pattern(3000, 4)));
             for (const auto& [other, content] : Untouched()) {
                 EXPECT_TRUE(!done || Get(file_, other) == content) << other;
             }
             EXPECT_TRUE(!done || file_.Decrypt() == Ok);
             file_.Close();
             EXPECT_TRUE(done || ReadFile(path_) == bytes_) << "refused, but changed";
         }},
    };
    for (const auto& [what, change] : changes) {
        SCOPED_TRACE(what);
        OpenWith(bytes_);
        change();
        file_.Close();
        Model whole = Untouched();
        ExpectWhole(whole, ReadFile(path_), "the change");

        Open();
        EXPECT_TRUE(Put(file_, "new", Pattern(20000, 8)));
        file_.DeleteCFFile(name.c_str());
        Open();
        EXPECT_TRUE(Put(file_, "newer", Pattern(20000, 9)));
        file_.Close();
        whole["new"] = Pattern(20000, 8);
        whole["newer"] = Pattern(20000, 9);
        ExpectWhole(whole, ReadFile(path_), "new entries");
        for (const auto& entry : Untouched()) {
            Open();
            EXPECT_TRUE(Put(file_, entry.first, "replaced")) << entry.first;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, Damage, testing::ValuesIn(kCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(DamagedTexts, AreReadToTheEndOfTheirField) {
    RawFile raw(FileOf(kSound));
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

TEST(DamagedMarks, OfTheDirectoryAreMendedWithTheirBlock) {
    for (const char mark : {'\0', '\2'}) {
        for (const bool isDeletion : {true, false}) {
            RawFile raw(FileOf(kSound));
            raw.bytes[4] = mark;
            const auto stream = std::make_shared<std::stringstream>(raw.bytes);
            CompoundFile file;
            ASSERT_EQ(file.Open(stream, true), Ok);
            EXPECT_TRUE(isDeletion ? file.DeleteCFFile("a") : file.Encrypt("secret") == Ok);
            file.Close();
            EXPECT_EQ(stream->str()[4], '\1');
        }
    }
}

TEST(DamagedVersions, SignatureIsReadLeniently) {
    const std::map<std::string, bool> signatures = {
        {std::string("Block   2\0", 10), true},  {std::string("Block2\0\0\0\0", 10), true},
        {std::string("Block  +2\0", 10), true},  {std::string("Block  2X\0", 10), false},
        {std::string("Block  -2\0", 10), false}, {std::string("Block\0\0\0\0\0", 10), false},
        {std::string("Block    2", 10), true},   {std::string("block   2\0", 10), false},
        {std::string("Block   3\0", 10), false}, {std::string("Block   0\0", 10), false}};
    for (const auto& [signature, sound] : signatures) {
        RawFile raw(FileOf(kSound));
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
    const std::string sound = FileOf(kSound);
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
