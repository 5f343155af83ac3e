#include "FileTest.h"

#include <TALVOutl/BlowFish.h>
#include <TALVOutl/MD5.h>

namespace {

using Encryption = FileTest;

/// What the payload of a data block has to look like on disk.
std::string Enciphered(std::string payload, const char* password, std::uint64_t block,
                       std::size_t length) {
    BlowFish::Context(password, std::char_traits<char>::length(password))
        .Encipher(&payload[0], length, block);
    return payload;
}

TEST_F(Encryption, EnciphersWholeCipherBlocksOfTheUsedBytes) {
    const std::map<std::size_t, std::size_t> lengths = {{0, 0},       {1, 8},       {8, 8},
                                                        {992, 992},   {993, 1000},  {1000, 1000},
                                                        {1001, 1000}, {1002, 1000}, {1003, 1000}};
    for (const auto& length : lengths) {
        Put(file_, std::to_string(length.first), Pattern(length.first, 9));
    }
    ASSERT_EQ(file_.Encrypt("secret"), KrStreamE::Ok);
    const RawFile raw = Closed();
    EXPECT_EQ(raw.Number(1022, 2), 1U);
    const MD5::RawDigest digest = MD5("secret").GetRawDigest();
    EXPECT_EQ(raw.bytes.substr(1006, 16), std::string(digest.begin(), digest.end()));
    for (const auto& [size, length] : lengths) {
        const std::uint32_t block = raw.Find(std::to_string(size)).firstBlock;
        EXPECT_EQ(raw.Used(block), size);
        const std::string plain = Pattern(size, 9) + std::string(1003 - size, '\0');
        EXPECT_EQ(raw.bytes.substr(RawFile::At(block, 21), 1003),
                  Enciphered(plain, "secret", block, length))
            << size;
    }
}

TEST_F(Encryption, PasswordIsNeededForEveryPayload) {
    Put(file_, "a", Pattern(5000, 1));
    ASSERT_EQ(file_.Encrypt("secret"), KrStreamE::Ok);
    EXPECT_TRUE(Get(file_, "a") == Pattern(5000, 1));
    const std::string before = Closed().bytes;
    Open();
    EXPECT_EQ(file_.GetNumUsedBlocks(), static_cast<int>(before.size() / 1024));

    EXPECT_TRUE(file_.IsEncrypted());
    EXPECT_TRUE(file_.Exists("A"));
    for (int attempt = 0; attempt < 3; ++attempt) {
        const bool tried = attempt == 0   ? Get(file_, "a").has_value()
                           : attempt == 1 ? Put(file_, "b", "plain")
                                          : file_.DeleteCFFile("a");
        EXPECT_FALSE(tried);
        EXPECT_EQ(file_.GetStatus(), KrStreamE::PasswordRequired) << attempt;
        EXPECT_FALSE(file_.IsEncrypted());
        EXPECT_FALSE(file_.SetPassword("Secret"));
        EXPECT_FALSE(file_.SetPassword(""));
        EXPECT_FALSE(file_.SetPassword(nullptr));
        EXPECT_EQ(file_.GetStatus(), KrStreamE::PasswordRequired);
        EXPECT_EQ(file_.GetNumDirEntrys(), 2) << "no half-made entry stays";
        Open();
    }
    EXPECT_EQ(file_.Decrypt(), KrStreamE::PasswordRequired);
    EXPECT_EQ(ReadFile(path_), before);

    ASSERT_TRUE(file_.SetPassword("secret"));
    EXPECT_TRUE(Put(file_, "b", Pattern(3000, 2)));
    file_.GetIOStream("a", "r+b")->seekp(2000).write("changed", 7);
    Open(KrStreamE::ReadOnly);
    ASSERT_TRUE(file_.SetPassword("secret"));
    EXPECT_TRUE(GetAll(file_) == (Model{{"a", Pattern(5000, 1).replace(2000, 7, "changed")},
                                        {"b", Pattern(3000, 2)}}));
}

TEST_F(Encryption, DecryptAndRekeyRestorePlainBytes) {
    Put(file_, "a", Pattern(5000, 1));
    Put(file_, "b", "");
    const std::string plain = Closed().bytes;
    Open();
    ASSERT_EQ(file_.Encrypt("first"), KrStreamE::Ok);
    ASSERT_EQ(file_.Encrypt("a much longer second password"), KrStreamE::Ok);
    Open();
    EXPECT_FALSE(file_.SetPassword("first"));
    ASSERT_TRUE(file_.SetPassword("a much longer second password"));
    EXPECT_TRUE(Get(file_, "a") == Pattern(5000, 1));
    ASSERT_EQ(file_.Decrypt(), KrStreamE::Ok);
    EXPECT_TRUE(file_.SetPassword("anything")) << "a plain file takes any";
    EXPECT_EQ(file_.Decrypt(), KrStreamE::Ok);
    EXPECT_EQ(Closed().bytes, plain);
}

TEST_F(Encryption, EmptyFileCarriesThePasswordFromTheStart) {
    ASSERT_EQ(file_.Encrypt("secret"), KrStreamE::Ok);
    EXPECT_FALSE(file_.IsEncrypted()) << "nothing to encipher yet";
    EXPECT_EQ(file_.GetNumUsedBlocks(), 1);
    Put(file_, "a", std::string(3000, 'p'));
    EXPECT_TRUE(file_.IsEncrypted());
    file_.DeleteCFFile("a");
    Put(file_, "b", std::string(900, 'p'));
    EXPECT_EQ(Closed().bytes.find("pppp"), std::string::npos);
    Open();
    ASSERT_TRUE(file_.SetPassword("secret"));
    EXPECT_TRUE(GetAll(file_) == (Model{{"b", std::string(900, 'p')}}));
}

TEST_F(Encryption, RefusalsChangeNothing) {
    Put(file_, "a", "x");
    EXPECT_EQ(file_.Encrypt(""), KrStreamE::Failed);
    EXPECT_EQ(file_.Encrypt(nullptr), KrStreamE::Failed);
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Ok);
    const std::string before = Closed().bytes;
    Open(KrStreamE::ReadOnly);
    EXPECT_EQ(file_.Encrypt("secret"), KrStreamE::Failed);
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Failed);
    file_.Close();
    EXPECT_EQ(ReadFile(path_), before);
}

TEST_F(Encryption, StreamsStayUsableWhileTheFileChangesItsForm) {
    auto stream = file_.GetIOStream("a", "wb");
    stream->write(Pattern(12000, 1).data(), 12000);
    ASSERT_EQ(file_.Encrypt("secret"), KrStreamE::Ok);
    stream->write("more", 4);
    stream.reset();
    Open();
    ASSERT_TRUE(file_.SetPassword("secret"));
    EXPECT_TRUE(Get(file_, "a") == Pattern(12000, 1) + "more");
}

} // namespace
