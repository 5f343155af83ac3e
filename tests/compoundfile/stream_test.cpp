#include "FileTest.h"

#include <random>

namespace {

class EntryStream : public FileTest {
protected:
    /// Closes the file, lets `change` work on its bytes, and opens it again.
    template <typename Change>
    void Damage(Change change, KrStreamE::OpenMode mode = KrStreamE::ReadWrite) {
        RawFile raw = Closed();
        change(raw);
        OpenWith(raw.bytes, mode);
    }
};

// Reads, writes and seeks at random, small and large, through two streams in turn, beside strings
// that do the same.
TEST_F(EntryStream, BehavesLikeAString) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
        // Streams that make the file grow, then ones that take the blocks of those before them.
        if (seed % 2 == 0) {
            OpenWith("");
        }
        std::mt19937 random(seed);
        const auto below = [&random](std::size_t limit) { return random() % limit; };
        Model models = {{"a", ""}, {"b", ""}};
        std::map<std::string, std::unique_ptr<std::iostream>> streams;
        for (const auto& entry : models) {
            Put(file_, entry.first, "");
            streams[entry.first] = file_.GetIOStream(entry.first.c_str(), "r+b");
        }
        for (int step = 0; step < 400; ++step) {
            const std::string name = below(2) == 0 ? "a" : "b";
            std::string& model = models.at(name);
            std::iostream& stream = *streams.at(name);
            const std::size_t at = below(model.size() + 1);
            const std::size_t count = below(below(4) == 0 ? 25000 : 1200);
            if (below(2) == 0) {
                const std::string bytes = Pattern(count, static_cast<unsigned>(random()));
                stream.seekp(static_cast<std::streamoff>(at));
                stream.write(bytes.data(), static_cast<std::streamsize>(count));
                model.resize(std::max(model.size(), at + count));
                model.replace(at, count, bytes);
            } else {
                std::string bytes(count, '\0');
                stream.seekg(static_cast<std::streamoff>(at) -
                                 static_cast<std::streamoff>(model.size()),
                             std::ios::end);
                stream.read(&bytes[0], static_cast<std::streamsize>(count));
                bytes.resize(static_cast<std::size_t>(stream.gcount()));
                ASSERT_EQ(bytes, model.substr(at, count)) << "seed " << seed << " step " << step;
                stream.clear();
            }
        }
        streams.clear();
        ASSERT_TRUE(GetAll(file_) == models) << "seed " << seed;
    }
    ClosedSound();
}

// One position for reading and writing, whatever is read ahead or still to be written, without a
// seek between the two.
TEST_F(EntryStream, CharactersAndPositionsInAnyOrder) {
    std::mt19937 random(1);
    std::string model = Pattern(30000, 1);
    Put(file_, "e", model);
    const auto stream = file_.GetIOStream("e", "r+b");
    std::size_t at = 0;
    for (int step = 0; step < 40000; ++step) {
        const auto here = static_cast<std::streamoff>(at);
        const int next = at < model.size() ? static_cast<unsigned char>(model[at]) : EOF;
        switch (random() % 9) {
        case 0:
            ASSERT_EQ(stream->peek(), next) << step;
            break;
        case 1:
            ASSERT_EQ(stream->get(), next) << step;
            at += next == EOF ? 0 : 1;
            break;
        case 2:
            ASSERT_EQ(stream->unget().good(), at > 0) << step;
            at -= at > 0 ? 1 : 0;
            break;
        case 3:
            ASSERT_EQ(stream->putback(at > 0 ? model[at - 1] : 'x').good(), at > 0) << step;
            at -= at > 0 ? 1 : 0;
            break;
        case 4: {
            const std::size_t count = random() % 50 == 0 ? 12000 : random() % 700;
            const std::string bytes = Pattern(count, static_cast<unsigned>(step));
            *stream << bytes;
            model.replace(at, bytes.size(), bytes);
            at += bytes.size();
            break;
        }
        case 5: {
            std::string bytes(random() % 700, '\0');
            stream->read(&bytes[0], static_cast<std::streamsize>(bytes.size()));
            bytes.resize(static_cast<std::size_t>(stream->gcount()));
            ASSERT_EQ(bytes, model.substr(at, bytes.size())) << step;
            at += bytes.size();
            break;
        }
        case 6:
            at = random() % model.size();
            stream->seekg(static_cast<std::streamoff>(at) - here, std::ios::cur);
            break;
        case 7:
            stream->flush();
            break;
        default:
            ASSERT_EQ(stream->tellg(), here) << step;
        }
        stream->clear();
    }
    stream->flush();
    EXPECT_TRUE(Get(file_, "e") == model);
}

// Chains that lie one in the other, long enough that their links are read many at a time.
TEST_F(EntryStream, FarSeeksAlongTangledChains) {
    constexpr std::size_t kRun = std::size_t{10} * 1003;
    const std::string bytes = Pattern(300 * kRun, 1);
    {
        const auto one = file_.GetIOStream("one", "wb");
        const auto other = file_.GetIOStream("other", "wb");
        for (std::size_t at = 0; at < bytes.size(); at += kRun) {
            one->write(bytes.data() + at, kRun);
            *(at % 3 == 0 ? one : other) << std::flush;
            other->write(bytes.data() + at, kRun);
        }
    }
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        const auto stream = file_.GetIOStream(round % 2 == 0 ? "one" : "other", "rb");
        const std::size_t at = random() % bytes.size();
        std::string piece(5000, '\0');
        stream->seekg(static_cast<std::streamoff>(at)).read(&piece[0], 5000);
        piece.resize(static_cast<std::size_t>(stream->gcount()));
        ASSERT_TRUE(piece == bytes.substr(at, 5000)) << at;
    }
    ClosedSound();
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

TEST_F(EntryStream, ReadOnlyFileIsNotChanged) {
    Put(file_, "e", "old");
    const std::string before = Closed().bytes;
    Open(KrStreamE::ReadOnly);
    EXPECT_EQ(file_.GetIOStream("e", "wb"), nullptr);
    EXPECT_FALSE(file_.DeleteCFFile("e"));
    EXPECT_EQ(file_.FlushToString(), "");
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Ok);
    EXPECT_FALSE(*file_.GetIOStream("e", "r+b") << std::unitbuf << "longer");
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
        EXPECT_TRUE(replaced ? Get(file_, "e") == Pattern(7000, 4)
                             : Get(file_, "new") == Pattern(40000, 5));
        ClosedSound();
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
    Open();
    EXPECT_TRUE(Put(file_, "e", Pattern(30000, 4)));
    EXPECT_TRUE(GetAll(file_) == (Model{{"behind", Pattern(2000, 3)}, {"e", Pattern(30000, 4)}}));
}

// A chain made by another writer may end in a full block. Reading it closes it.
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
    ClosedSound();

    Open();
    Damage(cutClosingBlock);
    file_.GetIOStream("e", "r+b")->seekp(0, std::ios::end).write("tail", 4);
    EXPECT_TRUE(Get(file_, "e") == content + "tail");
    ClosedSound();
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
