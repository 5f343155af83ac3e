#include "tests/support/Sources.h"
#include "tests/support/TempFolder.h"

#include <TALVOkrstream/CompoundFileStreamSource.h>
#include <TALVOkrstream/StreamDirectory.h>
#include <TALVOutl/Exception.h>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace std::string_literals;

std::string Bytes(std::uint64_t value, std::size_t width) {
    std::string bytes;
    for (std::size_t i = 0; i < width; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
    return bytes;
}

/// A record by hand: head, slots, the used ones' IDs and positions, the end.
std::string Record(const std::string& head, std::size_t slots,
                   const std::vector<std::pair<int, std::uint64_t>>& used, std::uint64_t end,
                   std::size_t width = 8) {
    std::string ids;
    std::string positions;
    for (const auto& [id, position] : used) {
        ids += Bytes(static_cast<std::uint64_t>(id), 2);
        positions += Bytes(position, width);
    }
    ids.resize(2 * slots);
    positions.resize(width * slots);
    return head + Bytes(slots, 2) + Bytes(used.size(), 2) + ids + positions + Bytes(end, width);
}

const std::string kDirectoryHead = "zA\x02\0"s;
/// Three sub-streams behind a directory of four slots: 56 bytes.
const std::string kThree =
    Record(kDirectoryHead, 4, {{1, 56}, {2, 61}, {7, 62}}, 67) + "first" + "2" + "third";

std::string Piece(std::istream* stream, std::size_t size) {
    std::string bytes(size, '\0');
    return stream != nullptr && stream->read(bytes.data(), static_cast<std::streamsize>(size))
               ? bytes
               : "<none>";
}

void WriteThree(std::ostream& os) {
    OutputStreamDirectory directory(os, 4);
    directory.GetOutput(1) << "first";
    directory.GetOutput(99);
    directory.GetOutput(2) << "2";
    directory.GetOutput(7) << "third";
    directory.GetOutput(8);
}

void ExpectThree(std::istream& is) {
    InputStreamDirectory directory(is);
    EXPECT_EQ(Piece(directory.GetInput(2), 1), "2");
    EXPECT_EQ(Piece(directory.GetInput(7), 5), "third");
    EXPECT_EQ(Piece(directory.GetInput(1), 5), "first");
    for (const int id : {0, 3, 8, 99}) {
        EXPECT_EQ(directory.GetInput(static_cast<unsigned short>(id)), nullptr) << id;
    }
    EXPECT_FALSE(directory.Open(is)) << "open already";
    directory.Close();
    EXPECT_EQ(std::streamoff(is.tellg()), 67);
    EXPECT_EQ(directory.GetInput(1), nullptr);
    is.seekg(0);
    EXPECT_TRUE(directory.Open(is));
}

TEST(StreamDirectory, IsTheSameOnEveryStream) {
    const TempFolder folder;
    PureCompoundFileStreamSource inFile;
    MemCompoundFileStreamSource inMemory;
    CompoundFileStreamSource inFolder((folder / "file2").c_str(), (folder / "workspace").c_str());
    ASSERT_TRUE(inFile.Open((folder / "file").c_str(), false));
    inMemory.Open();
    ASSERT_EQ(inFolder.Open(CompoundFileStreamSource::NewWorkspace, false), 0);
    for (KrStreamSource* source :
         std::initializer_list<KrStreamSource*>{&inFile, &inMemory, &inFolder}) {
        WriteThree(*source->GetOStream("record"));
        EXPECT_EQ(Read(*source, "record"), kThree);
        ExpectThree(*source->GetIStream("record"));
    }
    std::stringstream stream;
    WriteThree(stream);
    EXPECT_EQ(stream.str(), kThree);
    ExpectThree(stream);
}

TEST(StreamDirectory, IsWrittenByteForByte) {
    std::ostringstream empty;
    OutputStreamDirectory(empty, 3).GetOutput(5);
    EXPECT_EQ(empty.str(), Record(kDirectoryHead, 3, {}, 46));
    EXPECT_EQ(empty.str().size(), 46U);

    std::ostringstream behind;
    behind << "before";
    { OutputStreamDirectory(behind, 1).GetOutput(5) << "x"; }
    EXPECT_EQ(behind.str(), "before" + Record(kDirectoryHead, 1, {{5, 32}}, 33) + "x");
}

TEST(StreamDirectory, OutOfOrderIsSortedOrNotAsTheStreamAllows) {
    const std::string large(70000, 'x');
    std::ostringstream os;
    {
        OutputStreamDirectory directory(os, 2);
        directory.GetOutput(9) << large;
        directory.GetOutput(3) << "y";
    }
    EXPECT_EQ(os.str(), Record(kDirectoryHead, 2, {{3, 70036}, {9, 36}}, 70037) + large + "y");
    std::ostringstream swapped;
    {
        OutputStreamDirectory directory(swapped, 3);
        directory.GetOutput(1) << large;
        directory.GetOutput(9) << "y";
        directory.GetOutput(3) << "z";
    }
    EXPECT_EQ(swapped.str(),
              Record(kDirectoryHead, 3, {{1, 46}, {3, 70047}, {9, 70046 % 65536}}, 70048) + large +
                  "yz");

    const TempFolder folder;
    CompoundFileStreamSource source((folder / "file").c_str(), (folder / "workspace").c_str());
    ASSERT_EQ(source.Open(CompoundFileStreamSource::NewWorkspace, false), 0);
    {
        const auto file = source.GetOStream("record");
        OutputStreamDirectory directory(*file, 2);
        directory.GetOutput(9) << "x";
        directory.GetOutput(3) << "y";
    }
    EXPECT_EQ(Read(source, "record"), Record(kDirectoryHead, 2, {{9, 36}, {3, 37}}, 38) + "xy");
}

TEST(StreamDirectory, StreamsAtTheirEndAreNoSurprise) {
    std::stringstream os;
    {
        OutputStreamDirectory directory(os, 1);
        directory.GetOutput(1) << "7";
        os.setstate(std::ios_base::eofbit);
    }
    EXPECT_TRUE(os.fail()) << "no directory could be written";

    std::istringstream is(kThree);
    {
        InputStreamDirectory directory(is);
        std::string word;
        *directory.GetInput(7) >> word;
        EXPECT_TRUE(is.eof());
    }
    EXPECT_TRUE(is.good());
    EXPECT_EQ(std::streamoff(is.tellg()), 67);
}

TEST(StreamDirectory, OlderVersionsAreRead) {
    const std::vector<std::pair<int, std::uint64_t>> used = {{1, 100}, {5, 104}};
    for (const auto& [head, width] : {std::pair("xA"s, 4U), std::pair("zA\x01\0"s, 4U),
                                      std::pair("zA\0\0"s, 8U), std::pair(kDirectoryHead, 8U)}) {
        std::string record = Record(head, 3, used, 108, width);
        record.resize(100, '-');
        std::istringstream is(record + "one.five");
        InputStreamDirectory directory(is);
        EXPECT_EQ(Piece(directory.GetInput(5), 4), "five") << head;
        is.get();
        EXPECT_EQ(directory.GetInput(1), nullptr) << "at the end of the stream";
        is.clear();
        EXPECT_EQ(Piece(directory.GetInput(1), 3), "one") << head;
    }
    std::istringstream newer("zA\x03\0\0\0\0\0"s);
    EXPECT_THROW(InputStreamDirectory{newer}, Exception);
}

TEST(StreamDirectory, RefusesMoreSlotsThanThereCanBe) {
    std::ostringstream os;
    OutputStreamDirectory(os, 81).GetOutput(1) << "x";
    EXPECT_TRUE(os.fail());
    std::ostringstream tooMany;
    OutputStreamDirectory writer(tooMany, 80);
    for (unsigned short id = 0; id < 81; ++id) {
        writer.GetOutput(id) << "x";
    }
    EXPECT_TRUE(tooMany.fail());

    const std::string head = kDirectoryHead;
    for (const std::string& claim : {Bytes(81, 2) + Bytes(1, 2), Bytes(3, 2) + Bytes(4, 2),
                                     Bytes(65535, 2) + Bytes(65535, 2)}) {
        std::istringstream is(head + claim + std::string(1000, '\0'));
        InputStreamDirectory reader(is);
        EXPECT_TRUE(is.fail());
        EXPECT_EQ(reader.GetInput(0), nullptr);
    }
}

bool FindsBoth(const std::string& record) {
    std::istringstream is(record);
    try {
        InputStreamDirectory directory(is);
        return Piece(directory.GetInput(1), 5) == "first" &&
               Piece(directory.GetInput(7), 5) == "third";
    } catch (const Exception&) {
        return false;
    }
}

TEST(StreamDirectory, DamageEndsInARefusal) {
    const std::size_t directorySize = 56;
    for (std::size_t size = 0; size < directorySize; ++size) {
        std::istringstream is(kThree.substr(0, size));
        InputStreamDirectory directory(is);
        EXPECT_TRUE(is.fail()) << size;
        EXPECT_EQ(directory.GetInput(1), nullptr) << size;
    }
    // Bytes that do not matter to the first and the last sub-stream: the unused slot, the end.
    const auto isUnused = [](std::size_t at) {
        return at == 14 || at == 15 || (at >= 40 && at < 56);
    };
    // Those whose change must show: magic, version, the two sub-streams' IDs and positions.
    const auto isVital = [](std::size_t at) {
        return at < 4 || at == 8 || at == 9 || at == 12 || at == 13 || (at >= 16 && at < 24) ||
               (at >= 32 && at < 40);
    };
    for (std::size_t at = 0; at < directorySize; ++at) {
        for (int change = 1; change < 256; ++change) {
            std::string damaged = kThree;
            damaged[at] = static_cast<char>(damaged[at] ^ change);
            const bool found = FindsBoth(damaged);
            EXPECT_FALSE(found && isVital(at) && damaged[2] != '\0') << at << ' ' << change;
            EXPECT_TRUE(found || !isUnused(at)) << at << ' ' << change;
        }
    }
}

} // namespace
