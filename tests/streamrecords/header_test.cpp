#include <TALVOkrstream/KStreamBase.h>

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

namespace {

using namespace std::string_literals;

TEST(KStreamLight, WritesTheHeaderByteForByte) {
    std::ostringstream os;
    EXPECT_TRUE(KStreamLight::WriteMagicStringAndVersionNumber(os, 0x1207, "AB"));
    EXPECT_TRUE(KStreamLight::WriteMagicStringAndVersionNumber(os, 1, ""));
    EXPECT_EQ(os.str(), "\x02\0AB\x07\x12\0\0\x01\0"s);
    os.setstate(std::ios_base::failbit);
    EXPECT_FALSE(KStreamLight::WriteMagicStringAndVersionNumber(os, 1, "AB"));
}

TEST(KStreamLight, ChecksTheWholeMagic) {
    struct {
        std::string header;
        const char* magic;
        bool matches;
        std::streamoff position;
    } const cases[] = {
        {"\x02\0AB\x07\0"s, "AB", true, 6},      {"\x02\0AB\x07\0"s, "ABC", false, 4},
        {"\x02\0AB\x07\0"s, "A", false, 3},      {"\x02\0AB\x07\0"s, "AC", false, 4},
        {"\x02\0AB\x07\0"s, "", false, 2},       {"\0\0\x07\0"s, "", true, 4},
        {"\0\0\x07\0"s, "AB", false, 2},         {"\x03\0AB\0\x07\0"s, "AB", false, 4},
        {"\xFF\xFF\xAB\x07\0"s, "AB", false, 3},
    };
    for (const auto& check : cases) {
        std::istringstream is(check.header);
        unsigned short version = 99;
        EXPECT_EQ(KStreamLight::CheckMagicStringAndVersionNumber(is, version, check.magic),
                  check.matches)
            << check.magic;
        EXPECT_EQ(version, check.matches ? 7 : 99);
        EXPECT_EQ(std::streamoff(is.tellg()), check.position) << check.magic;
    }
}

/// An object with content of its own, and a part that begins the pass once more.
class Text : public KStreamBase {
public:
    explicit Text(std::string content = "") : content_(std::move(content)) {}

    bool KStreamableStartWrite(std::ostream& os) const override {
        return KStreamBase::KStreamableStartWrite(os) && KStreamBase::KStreamableStartWrite(os) &&
               !(os << content_ << '.').fail();
    }
    bool KStreamableStartRead(std::istream& is) override {
        return KStreamBase::KStreamableStartRead(is) && KStreamBase::KStreamableStartRead(is) &&
               !std::getline(is, content_, '.').fail();
    }

    std::string content_;
};

const std::string kHead = "\x03\0\0\0KSB\x01\0"s;

TEST(KStreamBase, WritesOneHeadInEachPass) {
    std::stringstream stream;
    stream << Text("one") << Text("two");
    EXPECT_EQ(stream.str(), kHead + "one." + kHead + "two.");
    Text text;
    stream >> text;
    EXPECT_EQ(text.content_, "one");
    stream >> text;
    EXPECT_EQ(text.content_, "two");
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(text.GetMyKStreamVersionNumber(), 1);
}

TEST(KStreamBase, SharesTheVersionReadLast) {
    Text text;
    std::istringstream other("\x03\0\0\0KSB\x05\x01."s);
    other >> text;
    EXPECT_EQ(Text().GetKStreamVersionNumber(), 0x105);
    for (const std::string& wrong : {"\x03\0\0\0KSC\x01\0."s, "\x04\0\0\0KSB\0\x01\0."s, ""s}) {
        std::istringstream is(wrong);
        is >> text;
        EXPECT_TRUE(is.fail());
        EXPECT_EQ(text.GetKStreamVersionNumber(), 0x105);
    }
}

TEST(KStreamBase, CopiesStartNoPassAndAssignmentTakesItOver) {
    std::ostringstream os;
    const KStreamBase inPass;
    inPass.KStreamableStartWrite(os);
    KStreamBase others[] = {KStreamBase(inPass), KStreamBase()};
    others[1] = inPass;
    for (const KStreamBase& other : others) {
        other.KStreamableStartWrite(os);
    }
    EXPECT_EQ(os.str(), kHead + kHead);
    inPass.KStreamableReset();
    inPass.KStreamableStartWrite(os);
    EXPECT_EQ(os.str(), kHead + kHead + kHead);
}

TEST(Headers, CutAnywhereAreRefused) {
    const std::function<bool(std::istream&)> readers[] = {
        [](std::istream& is) {
            unsigned short version = 0;
            return KStreamLight::CheckMagicStringAndVersionNumber(is, version, "AB");
        },
        [](std::istream& is) { return KStreamableData(3, "ABC").Check(is); },
    };
    const std::string headers[] = {"\x02\0AB\x07\0"s, "\x03\0\0\0ABC\x07\0"s};
    for (const std::size_t kind : {0, 1}) {
        const std::string& header = headers[kind];
        for (std::size_t size = 0; size <= header.size(); ++size) {
            std::istringstream is(header.substr(0, size));
            EXPECT_EQ(readers[kind](is), size == header.size()) << size;
        }
        // Any other byte but that of a version makes it another header.
        for (std::size_t i = 0; i < 255 * header.size(); ++i) {
            const std::size_t at = i / 255;
            std::string changed = header;
            changed[at] = static_cast<char>(changed[at] + 1 + static_cast<int>(i % 255));
            std::istringstream is(changed);
            EXPECT_EQ(readers[kind](is), at + 2 >= header.size()) << i;
        }
    }
    // A length that no stream delivers takes no memory.
    std::istringstream huge("\xFF\xFF\xFF\xFF"
                            "ABC\x07\0"s);
    EXPECT_FALSE(KStreamableData(3, "ABC").Check(huge));
}

TEST(KrStreamError, IsCopiedAsWhatItIs) {
    const KrStreamError error(ExceptionMessage::translate("No {1}.") % "luck");
    EXPECT_STREQ(error.Clone()->what(), "No luck.");
    EXPECT_STREQ(KrStreamError().Clone()->what(), "");
}

} // namespace
