#include "tests/support/Entries.h"
#include "tests/support/RawFile.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <random>

#include <sys/resource.h>

namespace {

class EntryStream : public testing::Test {
protected:
    void SetUp() override { Open(); }
    void Open(KrStreamE::OpenMode mode = KrStreamE::ReadWrite) {
        ASSERT_EQ(file_.Open(path_.c_str(), mode), KrStreamE::Ok);
    }
    /// Closes the file, lets `change` work on its bytes, and opens it again.
    template <typename Change>
    void Damage(Change change, KrStreamE::OpenMode mode = KrStreamE::ReadWrite) {
        file_.Close();
        RawFile raw(ReadFile(path_));
        change(raw);
        WriteFile(path_, raw.bytes);
        Open(mode);
    }

    TempFolder folder_;
    const std::string path_ = folder_ / "file";
    CompoundFile file_;
};

// Reads, writes and seeks at random, small and large, beside a string that does the same.
TEST_F(EntryStream, BehavesLikeAString) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&random](std::size_t limit) { return random() % limit; };
        std::string model;
        Put(file_, "entry", "");
        auto stream = file_.GetIOStream("entry", "r+b");
        for (int step = 0; step < 200; ++step) {
            const std::size_t at = below(model.size() + 1);
            const std::size_t count = below(below(4) == 0 ? 25000 : 1200);
            if (below(2) == 0) {
                const std::string bytes = Pattern(count, static_cast<unsigned>(random()));
                stream->seekp(static_cast<std::streamoff>(at));
                stream->write(bytes.data(), static_cast<std::streamsize>(count));
                model.resize(std::max(model.size(), at + count));
                model.replace(at, count, bytes);
            } else {
                std::string bytes(count, '\0');
                stream->seekg(static_cast<std::streamoff>(at) -
                                  static_cast<std::streamoff>(model.size()),
                              std::ios::end);
                stream->read(&bytes[0], static_cast<std::streamsize>(count));
                bytes.resize(static_cast<std::size_t>(stream->gcount()));
                ASSERT_EQ(bytes, model.substr(at, count)) << "seed " << seed << " step " << step;
                stream->clear();
            }
        }
        stream.reset();
        ASSERT_EQ(Get(file_, "entry"), model) << "seed " << seed;
    }
    file_.Close();
    EXPECT_EQ(RawFile(ReadFile(path_)).Faults(), "");
}

TEST_F(EntryStream, SeeksStayWithinTheEntry) {
    Put(file_, "e", Pattern(3000, 1));
    const auto stream = file_.GetIOStream("e", "rb");
    EXPECT_EQ(stream->seekg(5000).tellg(), 3000);
    EXPECT_EQ(stream->seekg(-1).tellg(), 3000);
    EXPECT_EQ(stream->seekg(-10, std::ios::end).tellg(), 2990);
    EXPECT_EQ(stream->seekg(-90, std::ios::cur).tellg(), 2900);
    EXPECT_EQ(stream->get(), static_cast<unsigned char>(Pattern(3000, 1)[2900]));
    EXPECT_EQ(stream->seekg(0, std::ios::end).get(), EOF);
    EXPECT_FALSE(stream->bad());
}

TEST_F(EntryStream, ModesDecideWhatIsOpened) {
    Put(file_, "e", "old");
    for (const char* mode : {"a", "ab", "", "x", "b", "+rb"}) {
        EXPECT_EQ(file_.GetIOStream("e", mode), nullptr) << mode;
    }
    EXPECT_EQ(file_.GetIOStream("missing", "rb"), nullptr);
    EXPECT_EQ(file_.GetIOStream("", "wb"), nullptr);
    EXPECT_EQ(file_.GetIOStream(nullptr, "wb"), nullptr);
    EXPECT_EQ(file_.GetIOStream("e", nullptr), nullptr);
    EXPECT_EQ(file_.GetIOStream(std::string(257, 'n').c_str(), "wb"), nullptr);
    EXPECT_NE(file_.GetIOStream(std::string(256, 'n').c_str(), "wb"), nullptr);
    EXPECT_TRUE(file_.GetIOStream("e", "r")->bad());
    EXPECT_TRUE(file_.Exists("E"));
    EXPECT_EQ(Get(file_, "e"), "old");
    file_.GetIOStream("e", "r+b")->write("N", 1);
    EXPECT_EQ(Get(file_, "e"), "Nld");
    EXPECT_TRUE(Put(file_, "E", "new"));
    EXPECT_EQ(GetAll(file_).count("E"), 1U) << "a new entry takes the new spelling";
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Ok);
}

// The walk's names look into the very slots that rewriting frees and takes again.
TEST_F(EntryStream, EntryIsRewrittenByItsListedName) {
    Put(file_, "a", "old");
    unsigned long index = 0;
    file_.GetIOStream(file_.GetFirstDirName(&index), "wb")->write("new", 3);
    EXPECT_TRUE(GetAll(file_) == (Model{{"a", "new"}}));
}

TEST_F(EntryStream, FullDiskLeavesAFileThatOpens) {
    Put(file_, "a", Pattern(5000, 1));
    file_.Flush();
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit before = limit;
    limit.rlim_cur = ReadFile(path_).size() + 5300;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    Put(file_, "b", Pattern(50000, 2));
    EXPECT_EQ(file_.Close(), KrStreamE::Failed);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    Open();
    EXPECT_TRUE(GetAll(file_)["a"] == Pattern(5000, 1));
    EXPECT_TRUE(Put(file_, "b", Pattern(50000, 2)));
}

TEST_F(EntryStream, ReadOnlyFileIsNotChanged) {
    Put(file_, "e", "old");
    file_.Close();
    const std::string before = ReadFile(path_);
    Open(KrStreamE::ReadOnly);
    EXPECT_EQ(file_.GetIOStream("e", "wb"), nullptr);
    EXPECT_FALSE(file_.DeleteCFFile("e"));
    EXPECT_EQ(file_.FlushToString(), "");
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Ok);
    EXPECT_FALSE(file_.GetIOStream("e", "r+b")->write("longer", 6).flush());
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Failed);
    file_.Close();
    EXPECT_EQ(ReadFile(path_), before);
}

TEST_F(EntryStream, TellingTheSizeReadsNoBlock) {
    Put(file_, "e", Pattern(9000, 1));
    Damage([](RawFile& raw) { raw.SetNumber(RawFile::At(5), 4, 99); }, KrStreamE::ReadOnly);
    const auto stream = file_.GetIOStream("e", "rb");
    EXPECT_EQ(stream->seekg(0, std::ios::end).tellg(), 9000);
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Ok);
}

TEST_F(EntryStream, DeletedOrReplacedEntryFailsItsOldStream) {
    for (const bool replaced : {false, true}) {
        Put(file_, "e", Pattern(5000, 1));
        Put(file_, "other", Pattern(5000, 2));
        auto reader = file_.GetIOStream("e", "rb");
        auto writer = file_.GetIOStream("e", "r+b");
        writer->seekp(0, std::ios::end).write(Pattern(30000, 3).data(), 30000);
        Put(file_, "behind what the writer has not written yet", "x");
        if (replaced) {
            ASSERT_TRUE(Put(file_, "e", Pattern(7000, 4)));
        } else {
            ASSERT_TRUE(file_.DeleteCFFile("e"));
            ASSERT_TRUE(Put(file_, "new", Pattern(40000, 5)));
        }
        EXPECT_FALSE(writer->write("x", 1).flush());
        EXPECT_TRUE(reader->seekp(0, std::ios::end).bad());
        reader->clear();
        EXPECT_EQ(reader->get(), EOF);
        EXPECT_TRUE(reader->bad());
        writer.reset();
        reader.reset();
        EXPECT_EQ(file_.GetStatus(), KrStreamE::Ok);
        EXPECT_TRUE(Get(file_, "other") == Pattern(5000, 2));
        EXPECT_EQ(Get(file_, replaced ? "e" : "new"),
                  replaced ? Pattern(7000, 4) : Pattern(40000, 5));
        file_.Close();
        EXPECT_EQ(RawFile(ReadFile(path_)).Faults(), "");
        Open();
    }
}

TEST_F(EntryStream, ReaderBesideAWriterFailsAloneOnWhatIsNotWritten) {
    auto writer = file_.GetIOStream("e", "wb");
    writer->write(Pattern(20480, 1).data(), 20480);
    EXPECT_EQ(Get(file_, "e"), std::nullopt);
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Ok);
    writer.reset();
    EXPECT_TRUE(Get(file_, "e") == Pattern(20480, 1));
}

// Each of them appends blocks that the other does not know of; some are never written.
TEST_F(EntryStream, TwoWritersOfOneEntryDamageNoOther) {
    Put(file_, "e", Pattern(1000, 1));
    {
        const auto first = file_.GetIOStream("e", "r+b");
        const auto second = file_.GetIOStream("e", "r+b");
        for (const auto* stream : {&first, &second}) {
            (*stream)->seekp(0, std::ios::end).write(Pattern(11000, 2).data(), 11000);
        }
        Put(file_, "behind", Pattern(2000, 3));
        EXPECT_TRUE(file_.DeleteCFFile("e"));
    }
    file_.Close();
    Open();
    EXPECT_TRUE(Put(file_, "e", Pattern(30000, 4)));
    EXPECT_TRUE(GetAll(file_) == (Model{{"behind", Pattern(2000, 3)}, {"e", Pattern(30000, 4)}}));
}

TEST_F(EntryStream, InterleavedWritersKeepTheirBytes) {
    {
        auto a = file_.GetIOStream("a", "wb");
        auto b = file_.GetIOStream("b", "wb");
        for (unsigned i = 0; i < 50; ++i) {
            a->write(Pattern(1500, i).data(), 1500).flush();
            b->write(Pattern(700, i).data(), 700).flush();
        }
    }
    std::string a;
    std::string b;
    for (unsigned i = 0; i < 50; ++i) {
        a += Pattern(1500, i);
        b += Pattern(700, i);
    }
    file_.Close();
    EXPECT_EQ(RawFile(ReadFile(path_)).Faults(), "");
    EXPECT_TRUE(GetAll(path_) == (Model{{"a", a}, {"b", b}}));
}

// A chain made by another writer may end in a full block.
TEST_F(EntryStream, FullLastBlock) {
    const auto cutClosingBlock = [](RawFile& raw) {
        const std::vector<std::uint32_t> chain = raw.Chain(raw.Find("e").firstBlock);
        raw.SetNumber(RawFile::At(chain[chain.size() - 2], 15), 4, 0);
        raw.bytes[RawFile::At(chain.back(), 4)] = 0;
        raw.bytes[RawFile::At(raw.Find("kravonel_block_file_free_list").firstBlock, 21)] ^= 1;
    };
    const std::string content = Pattern(2006, 1);
    Put(file_, "e", content);
    Damage(cutClosingBlock, KrStreamE::ReadOnly);
    EXPECT_TRUE(Get(file_, "e") == content);
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Ok);

    Damage([](RawFile&) {});
    EXPECT_TRUE(Get(file_, "e") == content);
    file_.Close();
    EXPECT_EQ(RawFile(ReadFile(path_)).Faults(), "") << "reading closes the chain";

    Open();
    Damage(cutClosingBlock);
    file_.GetIOStream("e", "r+b")->seekp(0, std::ios::end).write("tail", 4);
    EXPECT_TRUE(Get(file_, "e") == content + "tail");
    file_.Close();
    EXPECT_EQ(RawFile(ReadFile(path_)).Faults(), "");
}

TEST_F(EntryStream, DirectoryThatPromisesTooMuch) {
    Put(file_, "e", Pattern(1500, 1));
    Put(file_, "other", Pattern(1500, 2));
    Damage(
        [](RawFile& raw) { raw.SetNumber(raw.Find("e").offset + 313, 8, std::uint64_t{1} << 60); });
    const std::string before = ReadFile(path_);
    auto stream = file_.GetIOStream("e", "r+b");
    std::string bytes;
    for (char byte = 0; stream->get(byte);) {
        bytes += byte;
    }
    EXPECT_EQ(bytes, Pattern(1500, 1));
    EXPECT_TRUE(stream->bad()) << "no clean end";
    stream->clear();
    EXPECT_FALSE(stream->seekp(0, std::ios::end).write("x", 1).flush()) << "no gap is filled";
    stream.reset();
    EXPECT_TRUE(Get(file_, "other") == Pattern(1500, 2));
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Ok);
    file_.Close();
    EXPECT_EQ(ReadFile(path_).size(), before.size());
}

} // namespace
