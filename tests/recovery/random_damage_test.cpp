#include "Repair.h"
#include "tests/support/RawFile.h"

#include <random>

namespace {

/// Entries of all sizes, some of them deleted, replaced or extended again, at times under a
/// password.
std::string RandomFile(std::mt19937& random, bool encrypted) {
    const auto stream = std::make_shared<std::stringstream>();
    CompoundFile file;
    file.Open(stream);
    EXPECT_TRUE(!encrypted || file.Encrypt("secret") == KrStreamE::Ok);
    for (unsigned step = 0; step < 4 + random() % 20; ++step) {
        const std::string name = std::to_string(random() % 12);
        const std::string bytes = Pattern(random() % 6 * 1003 + random() % 3 * 500, step);
        if (random() % 4 == 0) {
            file.DeleteCFFile(name.c_str());
        } else if (random() % 4 == 0 && file.Exists(name.c_str())) {
            WriteTo(file.GetIOStream(name.c_str(), "r+b"), bytes, std::ios::end);
        } else {
            Put(file, name, bytes);
        }
    }
    Put(file, "last", "never an empty file");
    file.Close();
    return stream->str();
}

void DamageAtRandom(RawFile& raw, std::mt19937& random) {
    const std::uint64_t block = random() % raw.BlockCount() + 1;
    const std::uint64_t other = random() % raw.BlockCount() + 1;
    const std::size_t at = RawFile::At(block);
    const std::size_t length = std::min<std::size_t>(random() % 3000, raw.bytes.size() - at);
    switch (random() % 9) {
    case 0:
        raw.bytes[at + random() % 1024] = static_cast<char>(random());
        break;
    case 1:
        raw.bytes[at + random() % 21] = static_cast<char>(random());
        break;
    case 2:
        raw.SetNumber(at + 15, 4, random() % (raw.BlockCount() + 2));
        break;
    case 3:
        raw.bytes.replace(at, length, Pattern(length, 1));
        break;
    case 4:
        raw.bytes.replace(at, length, std::string(length, '\0'));
        break;
    case 5:
        raw.bytes.replace(at, 1024, raw.bytes.substr(RawFile::At(other), 1024));
        break;
    case 6:
        raw.bytes.erase(at, 1024);
        break;
    case 7:
        raw.bytes.resize(at + 1 + random() % 1024);
        break;
    default:
        raw.bytes.insert(at, Pattern(length, 2));
    }
    raw.bytes.resize(std::max<std::size_t>(raw.bytes.size(), 1024));
}

TEST(RandomDamage, WhateverIsLeftMakesASoundFile) {
    const TempFolder folder;
    const std::string path = folder / "file";
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const char* const password = seed % 3 == 0 ? "secret" : nullptr;
        RawFile raw(RandomFile(random, password != nullptr));
        WriteFile(path, raw.bytes);
        ASSERT_EQ(KindsFound(path, password), "") << Findings(path, password);
        for (unsigned change = 0; change <= seed % 5; ++change) {
            DamageAtRandom(raw, random);
        }
        WriteFile(path, raw.bytes);

        Recovery::File file;
        if (file.Open(path.c_str()) == Recovery::Status::NotBlockFile) {
            continue;
        }
        const std::size_t most = raw.bytes.size() / 1024 + 1;
        EXPECT_LE(file.Check().size(), 20 * most);
        EXPECT_LE(file.Blocks().size(), most);
        // Some damage takes the marks of encryption away; the bytes are then not to be told from
        // plain ones. Other damage makes the password impossible to check.
        const char* const given = file.SetPassword(password) ? password : nullptr;
        if (!file.IsReadable()) {
            continue;
        }
        const Repaired repaired = Repair(path, file.IsEncrypted() ? given : nullptr);
        EXPECT_LE(repaired.bytes.size(), 2 * raw.bytes.size() + RawFile::At(9));
    }
}

} // namespace
