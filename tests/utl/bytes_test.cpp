#include <TALVOutl/BlowFish.h>
#include <TALVOutl/ByteIO.h>
#include <TALVOutl/ByteOrder.h>
#include <TALVOutl/MD5.h>

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <numeric>
#include <sstream>
#include <string>
#include <utility>

using namespace std::string_literals;

namespace {

std::string BigEndian(std::uint64_t number) {
    std::array<unsigned char, 8> bytes{};
    StoreLittleEndian(bytes.data(), number);
    return {bytes.rbegin(), bytes.rend()};
}

// The published vectors are of single blocks. Run p is chained from E(p), so that p ^ E(p) becomes
// E(p), and becomes it again in the next block.
void ExpectVector(const std::string& key, std::uint64_t plain, std::uint64_t cipher) {
    const BlowFish::Context context(key.data(), key.size());
    const std::string chained = BigEndian(plain ^ cipher) + BigEndian(plain ^ cipher);
    std::string run = chained;
    context.Encipher(run.data(), run.size(), plain);
    EXPECT_EQ(run, BigEndian(cipher) + BigEndian(cipher)) << key.size() << " bytes, " << plain;
    context.Decipher(run.data(), run.size(), plain);
    EXPECT_EQ(run, chained);
}

template <typename Value, typename Write, typename Read>
void ExpectBytes(const Value& value, const std::string& bytes, Write write, Read read) {
    std::ostringstream out;
    std::ostream failing(nullptr);
    EXPECT_TRUE(write(value, out));
    EXPECT_EQ(out.str(), bytes);
    EXPECT_FALSE(write(value, failing));
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
        std::istringstream in(bytes.substr(0, cut));
        Value got{};
        EXPECT_EQ(read(got, in), cut == bytes.size()) << cut;
        EXPECT_EQ(got == value, cut == bytes.size()) << cut;
    }
}

template <typename Integer, typename Write, typename Read>
void ExpectWidth(Integer first, Integer second, const std::string& bytes, Write write, Read read) {
    ExpectBytes(
        std::array<Integer, 2>{first, second}, bytes,
        [write](const auto& values, auto& out) { return write(values.data(), 2, out); },
        [read](auto& values, auto& in) { return read(values.data(), 2, in); });
}

} // namespace

TEST(MD5, PublishedVectors) {
    for (const auto& [text, digest] : std::initializer_list<std::pair<std::string, std::string>>{
             {"", "d41d8cd98f00b204e9800998ecf8427e"},
             {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
             {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
              "57edf4a22be3c955ac49da2e2107b67a"}}) {
        MD5 pieces;
        for (const char& byte : text) {
            pieces.Update(&byte, 1);
        }
        EXPECT_EQ(pieces.GetRawDigest(), MD5(text.c_str()).GetRawDigest());
        EXPECT_EQ(pieces.GetRawDigest()[15], std::stoi(digest.substr(30), nullptr, 16));
        EXPECT_EQ(pieces.GetDigest(), digest);
    }
}

TEST(BlowFish, PublishedVectors) {
    ExpectVector(BigEndian(0x0123456789ABCDEF), 0x1111111111111111, 0x61F9C3802281B096);
    const std::uint64_t plain = 0xFEDCBA9876543210;
    const std::string key = BigEndian(0xF0E1D2C3B4A59687) + BigEndian(0x78695A4B3C2D1E0F);
    for (const auto& [length, cipher] :
         std::initializer_list<std::pair<std::size_t, std::uint64_t>>{{1, 0xF9AD597C49DB005E},
                                                                      {7, 0x8BB77032F960629D},
                                                                      {9, 0x15750E7A4F4EC577},
                                                                      {16, 0x93142887EE3BE15C}}) {
        ExpectVector(key.substr(0, length), plain, cipher);
    }
    // Longer ones, with the answers of another implementation: byte 72 counts, byte 73 does not.
    std::string bytes(73, '\0');
    std::iota(bytes.begin(), bytes.end(), '\1');
    ExpectVector(bytes.substr(0, 71), plain, 0x70E33E870B1D460F);
    ExpectVector(bytes.substr(0, 72), plain, 0x729951ED3FA23CC8);
    ExpectVector(bytes, plain, 0x729951ED3FA23CC8);
}

TEST(ByteIO, LittleEndianAndAllOrNothing) {
    ExpectWidth<std::uint16_t>(0x0201, 0xFF80, "\1\2\x80\xFF", WriteTwoBytes, ReadTwoBytes);
    ExpectWidth<std::uint32_t>(0x04030201, 0xFF000080, "\1\2\3\4\x80\0\0\xFF"s, WriteFourBytes,
                               ReadFourBytes);
    ExpectWidth<std::uint64_t>(0xFF07060504030280, 1, "\x80\2\3\4\5\6\7\xFF\1\0\0\0\0\0\0\0"s,
                               WriteEightBytes, ReadEightBytes);
    ExpectBytes("a\0b\r\n\xFF"s, "\6\0\0\0a\0b\r\n\xFF"s, WriteASCIIBinaryString,
                ReadASCIIBinaryString);
    const std::string pieces(5000, 'x');
    ExpectBytes(pieces, "\x88\x13\0\0"s + pieces, WriteASCIIBinaryString, ReadASCIIBinaryString);

    std::istringstream endless("\xFF\xFF\xFF\xFF" + pieces);
    std::string got = "old";
    EXPECT_FALSE(ReadASCIIBinaryString(got, endless));
    EXPECT_EQ(got, "old");
}
