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
    const std::string letters = "abcdefghijklmnopqrstuvwxyz";
    for (const auto& [text, digest] : std::initializer_list<std::pair<std::string, std::string>>{
             {"", "d41d8cd98f00b204e9800998ecf8427e"},
             {"a", "0cc175b9c0f1b6a831c399e269772661"},
             {"abc", "900150983cd24fb0d6963f7d28e17f72"},
             {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
             {letters, "c3fcd3d76192e4007dfb496cca67e13b"},
             {"ABCDEFGHIJKLMNOPQRSTUVWXYZ" + letters + "0123456789",
              "d174ab98d277d9f5a5611c2c9f419d9f"},
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
    const std::uint64_t vectors[][3] = {
        {0x0000000000000000, 0x0000000000000000, 0x4EF997456198DD78},
        {0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFFF, 0x51866FD5B85ECB8A},
        {0x3000000000000000, 0x1000000000000001, 0x7D856F9A613063F2},
        {0x1111111111111111, 0x1111111111111111, 0x2466DD878B963C9D},
        {0x0123456789ABCDEF, 0x1111111111111111, 0x61F9C3802281B096},
        {0xFEDCBA9876543210, 0x0123456789ABCDEF, 0x0ACEAB0FC6A0A28D},
        {0x7CA110454A1A6E57, 0x01A1D6D039776742, 0x59C68245EB05282B},
        {0x0131D9619DC1376E, 0x5CD54CA83DEF57DA, 0xB1B8CC0B250F09A0},
        {0x3849674C2602319E, 0x51454B582DDF440A, 0xA25E7856CF2651EB},
        {0x1F1F1F1F0E0E0E0E, 0x0123456789ABCDEF, 0xA790795108EA3CAE},
        {0x0000000000000000, 0xFFFFFFFFFFFFFFFF, 0x014933E0CDAFF6E4},
        {0xFFFFFFFFFFFFFFFF, 0x0000000000000000, 0xF21E9A77B71C49BC}};
    for (const auto& [key, plain, cipher] : vectors) {
        ExpectVector(BigEndian(key), plain, cipher);
    }
    const std::uint64_t plain = 0xFEDCBA9876543210;
    const std::string key = BigEndian(0xF0E1D2C3B4A59687) + BigEndian(0x78695A4B3C2D1E0F) +
                            BigEndian(0x0011223344556677);
    std::size_t length = 0;
    for (const std::uint64_t cipher : std::initializer_list<std::uint64_t>{
             0xF9AD597C49DB005E, 0xE91D21C1D961A6D6, 0xE9C2B70A1BC65CF3, 0xBE1E639408640F05,
             0xB39E44481BDB1E6E, 0x9457AA83B1928C0D, 0x8BB77032F960629D, 0xE87A244E2CC85E82,
             0x15750E7A4F4EC577, 0x122BA70B3AB64AE0, 0x3A833C9AFFC537F6, 0x9409DA87A90F6BF2,
             0x884F80625060B8B4, 0x1F85031C19E11968, 0x79D9373A714CA34F, 0x93142887EE3BE15C,
             0x03429E838CE2D14B, 0xA4299E27469FF67B, 0xAFD5AED1C1BC96A8, 0x10851C0E3858DA9F,
             0xE6F51ED79B9DB21F, 0x64A6E14AFD36B46F, 0x80C7D7D45A5479AD, 0x05044B62FA52D080}) {
        ExpectVector(key.substr(0, ++length), plain, cipher);
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
