#include "Repair.h"
#include "tests/support/RawFile.h"

#include <functional>
#include <random>

namespace {

constexpr char kPassword[] = "secret";

const Model kSound = {{"a", Pattern(2500, 1)},
                      {"b", Pattern(1500, 2)},
                      {"c", Pattern(10, 3)},
                      {"d", Pattern(1100, 4)},
                      {"e", Pattern(2006, 5)}};

// The directory is in blocks 1, 8 and 16; "a" in 2, 3, 4, "b" in 5, 6, "c" in 7, "d" in 9, 10, "e"
// in 11, 12, 13, the record of free blocks in 14; 15 and 17 are free.
std::string SoundFile(bool encrypted) {
    const auto stream = std::make_shared<std::stringstream>();
    CompoundFile file;
    file.Open(stream);
    for (const auto& [name, bytes] : kSound) {
        Put(file, name, bytes);
    }
    Put(file, "gone", Pattern(1500, 6));
    file.Close();
    file.Open(stream, true);
    file.DeleteCFFile("gone");
    EXPECT_TRUE(!encrypted || file.Encrypt(kPassword) == KrStreamE::Ok);
    file.Close();
    return stream->str();
}

constexpr std::size_t kFirstOfA = 19 + 309;
constexpr std::size_t kSizeOfA = 19 + 313;
const std::size_t kFreeListSlot = RawFile::At(16, 19);

void SetNext(RawFile& raw, std::uint64_t block, std::uint64_t next) {
    raw.SetNumber(RawFile::At(block, 15), 4, next);
}
void SetUsed(RawFile& raw, std::uint64_t block, std::uint64_t used) {
    raw.SetNumber(RawFile::At(block, 19), 2, used);
}
void SetInUse(RawFile& raw, std::uint64_t block, char flag) {
    raw.bytes[RawFile::At(block, 4)] = flag;
}
void SetBytes(RawFile& raw, std::size_t offset, const std::string& bytes) {
    raw.bytes.replace(offset, bytes.size(), bytes);
}
void Zero(RawFile& raw, std::uint64_t block) {
    SetBytes(raw, RawFile::At(block), std::string(1024, '\0'));
}
std::string BlockOf(const RawFile& raw, std::uint64_t block) {
    return raw.bytes.substr(RawFile::At(block), 1024);
}

enum class Form { Both, Plain, Encrypted };

struct Case {
    const char* name;
    std::function<void(RawFile&)> damage;
    /// What a check finds.
    const char* kinds;
    /// Entries that are not in the repaired file as they were.
    const char* changed = "";
    Form form = Form::Both;
};

const Case kCases[] = {
    // Length.
    {"tail", [](RawFile& raw) { raw.bytes += std::string(100, 'x'); },
     "(free-list-stale) block-number block-signature file-length"},
    {"tail_of_blocks", [](RawFile& raw) { raw.bytes += std::string(5000, 'x'); },
     "(free-list-stale) block-number block-signature file-length"},
    {"tail_of_other_file", [](RawFile& raw) { raw.bytes += raw.bytes.substr(0, RawFile::At(10)); },
     "(free-list-stale) (orphan-block) block-number"},
    {"cut_in_free_block", [](RawFile& raw) { raw.bytes.resize(RawFile::At(17, 500)); },
     "file-length"},
    {"cut_behind_last_byte", [](RawFile& raw) { raw.bytes.resize(RawFile::At(13)); },
     "(chain-beyond-end) (free-list-missing) directory-beyond-end"},
    {"cut_in_payload", [](RawFile& raw) { raw.bytes.resize(RawFile::At(12, 500)); },
     "(free-list-missing) chain-beyond-end directory-beyond-end file-length size-over-chain", "e"},
    {"cut_in_directory", [](RawFile& raw) { raw.bytes.resize(RawFile::At(8)); },
     "(free-list-missing) directory-beyond-end", "de"},
    {"cut_in_header", [](RawFile& raw) { raw.bytes.resize(RawFile::At(6, 9)); },
     "(free-list-missing) block-signature chain-beyond-end directory-beyond-end "
     "file-length size-over-chain",
     "bcde"},
    // Headers.
    {"number", [](RawFile& raw) { raw.SetNumber(RawFile::At(3), 4, 77); }, "block-number"},
    {"number_of_another", [](RawFile& raw) { raw.SetNumber(RawFile::At(3), 4, 5); },
     "block-number"},
    {"padding",
     [](RawFile& raw) {
         SetBytes(raw, RawFile::At(15), {14, 0, 0, 0, 0});
         SetUsed(raw, 15, 0);
     },
     "block-padding"},
    {"signature", [](RawFile& raw) { raw.bytes[RawFile::At(6, 5)] = 'X'; }, "block-signature"},
    {"newer_version", [](RawFile& raw) { raw.bytes[RawFile::At(6, 13)] = '3'; }, "block-signature"},
    {"in_use_value", [](RawFile& raw) { SetInUse(raw, 3, 7); }, "in-use-value"},
    {"marked_free", [](RawFile& raw) { SetInUse(raw, 3, 0); }, "marked-free"},
    {"all_marked_free",
     [](RawFile& raw) {
         for (std::size_t block = 1; block <= raw.BlockCount(); ++block) {
             SetInUse(raw, block, 0);
         }
     },
     "(chain-over-size) (free-list-stale) marked-free"},
    {"orphan", [](RawFile& raw) { SetInUse(raw, 15, 1); }, "(free-list-flags) (orphan-block)"},
    {"zeroed_block", [](RawFile& raw) { Zero(raw, 6); },
     "block-number block-signature chain-unreadable size-over-chain", "b"},
    {"random_range", [](RawFile& raw) { SetBytes(raw, RawFile::At(5, 700), Pattern(2200, 9)); },
     "block-number block-signature chain-unreadable size-over-chain", "bc"},
    {"swapped_blocks",
     [](RawFile& raw) {
         const std::string third = BlockOf(raw, 3);
         SetBytes(raw, RawFile::At(3), BlockOf(raw, 6));
         SetBytes(raw, RawFile::At(6), third);
     },
     "block-number"},
    {"block_before_all", [](RawFile& raw) { raw.bytes.insert(0, 1024, '\0'); },
     "(free-list-stale) block-number block-signature"},
    {"block_removed", [](RawFile& raw) { raw.bytes.erase(RawFile::At(3), 1024); },
     "(free-list-stale) (orphan-block) block-number chain-beyond-end size-over-chain", "a"},
    // Data blocks and chains.
    {"used_too_many", [](RawFile& raw) { SetUsed(raw, 4, 1004); }, "used-bytes"},
    {"used_too_few", [](RawFile& raw) { SetUsed(raw, 4, 3); }, "size-over-chain", "a"},
    {"used_too_few_inside", [](RawFile& raw) { SetUsed(raw, 2, 500); }, "block-not-full"},
    {"chain_ends_full", [](RawFile& raw) { SetNext(raw, 12, 0); },
     "(last-block-full) (orphan-block)"},
    {"chain_cut", [](RawFile& raw) { SetNext(raw, 2, 0); },
     "(last-block-full) (orphan-block) size-over-chain", "a"},
    {"chain_beyond", [](RawFile& raw) { SetNext(raw, 3, 5000); },
     "(orphan-block) chain-beyond-end size-over-chain", "a"},
    {"chain_far_beyond", [](RawFile& raw) { SetNext(raw, 3, 0xFFFFFFFF); },
     "(orphan-block) chain-beyond-end size-over-chain", "a"},
    {"last_link_beyond", [](RawFile& raw) { SetNext(raw, 4, 18); },
     "(chain-beyond-end) block-not-full"},
    {"chain_into_directory", [](RawFile& raw) { SetNext(raw, 2, 8); },
     "(orphan-block) chain-in-directory size-over-chain", "a"},
    {"chain_into_free", [](RawFile& raw) { SetNext(raw, 4, 17); },
     "(chain-over-size) block-not-full"},
    {"chain_cycle", [](RawFile& raw) { SetNext(raw, 4, 2); }, "block-not-full chain-cycle"},
    {"chain_to_itself", [](RawFile& raw) { SetNext(raw, 3, 3); },
     "(orphan-block) chain-cycle size-over-chain", "a"},
    {"crossed", [](RawFile& raw) { SetNext(raw, 2, 6); },
     "(orphan-block) chain-crossed size-over-chain", "a"},
    {"crossed_behind_end", [](RawFile& raw) { SetNext(raw, 4, 5); },
     "block-not-full chain-crossed"},
    // Slots.
    {"first_of_another", [](RawFile& raw) { raw.SetNumber(kFirstOfA, 4, 5); },
     "(free-list-stale) (orphan-block) chain-crossed size-over-chain", "a"},
    {"first_beyond", [](RawFile& raw) { raw.SetNumber(kFirstOfA, 4, 700); },
     "(free-list-stale) (orphan-block) chain-beyond-end size-over-chain", "a"},
    {"first_in_directory", [](RawFile& raw) { raw.SetNumber(kFirstOfA, 4, 1); },
     "(free-list-stale) (orphan-block) chain-in-directory size-over-chain", "a"},
    {"first_missing", [](RawFile& raw) { raw.SetNumber(kFirstOfA, 4, 0); },
     "(free-list-stale) (orphan-block) free-slot-size", "a"},
    {"size_too_large", [](RawFile& raw) { raw.SetNumber(kSizeOfA, 8, ~std::uint64_t{0}); },
     "(free-list-stale) size-over-chain"},
    {"size_too_small", [](RawFile& raw) { raw.SetNumber(kSizeOfA, 8, 7); },
     "(chain-over-size) (free-list-stale)"},
    {"same_names", [](RawFile& raw) { raw.bytes[340] = 'A'; }, "(free-list-stale) name-duplicate",
     "b"},
    {"no_name", [](RawFile& raw) { raw.bytes[19] = '\0'; }, "(free-list-stale) name-empty", "a"},
    {"name_without_end", [](RawFile& raw) { SetBytes(raw, 19, std::string(257, 'n')); },
     "(free-list-stale) name-unterminated", "a"},
    {"created", [](RawFile& raw) { SetBytes(raw, 19 + 257, "Yesterday"); },
     "(free-list-stale) time-text"},
    {"modified", [](RawFile& raw) { raw.bytes[19 + 283 + 25] = '!'; }, "time-text"},
    // The directory.
    {"magic_of_first", [](RawFile& raw) { raw.bytes[982] = '!'; },
     "(free-list-stale) directory-magic"},
    {"magic_of_second", [](RawFile& raw) { raw.bytes[RawFile::At(8, 982 + 14)] = '!'; },
     "(free-list-stale) directory-magic"},
    {"first_number", [](RawFile& raw) { raw.bytes[0] = 9; }, "(free-list-stale) block-number"},
    {"directory_signature", [](RawFile& raw) { raw.bytes[RawFile::At(8, 5)] = '!'; },
     "(free-list-stale) block-signature"},
    {"directory_cycle", [](RawFile& raw) { SetNext(raw, 16, 1); },
     "(free-list-stale) directory-cycle"},
    {"directory_beyond", [](RawFile& raw) { SetNext(raw, 1, 900); },
     "(free-list-stale) directory-beyond-end directory-unlinked"},
    {"directory_into_data", [](RawFile& raw) { SetNext(raw, 8, 5); },
     "(free-list-stale) directory-magic directory-unlinked"},
    {"directory_cut", [](RawFile& raw) { SetNext(raw, 1, 0); },
     "(free-list-stale) directory-unlinked"},
    {"directory_1_lost", [](RawFile& raw) { Zero(raw, 1); },
     "(free-list-stale) (orphan-block) block-number block-signature directory-magic "
     "directory-unlinked",
     "abc"},
    {"directory_8_lost", [](RawFile& raw) { Zero(raw, 8); },
     "(free-list-stale) (orphan-block) block-number block-signature directory-magic "
     "directory-unlinked",
     "de"},
    {"directory_16_lost", [](RawFile& raw) { Zero(raw, 16); },
     "(free-list-missing) (orphan-block) block-number block-signature directory-magic"},
    {"flags", [](RawFile& raw) { raw.bytes[1023] = 4; }, "(free-list-stale) directory-flags"},
    {"flags_of_second", [](RawFile& raw) { raw.bytes[RawFile::At(8, 1022)] = 1; },
     "(directory-flags) (free-list-stale)"},
    {"digest_without_flag", [](RawFile& raw) { raw.bytes[1006] = 'x'; },
     "(free-list-stale) password-digest", "", Form::Plain},
    {"digest_of_second", [](RawFile& raw) { raw.bytes[RawFile::At(8, 1006)] = 'x'; },
     "(free-list-stale) (password-digest)"},
    {"encryption_flag_lost", [](RawFile& raw) { raw.bytes[1022] = 0; },
     "(free-list-stale) password-digest", "", Form::Encrypted},
    {"password_digest_lost", [](RawFile& raw) { SetBytes(raw, 1006, std::string(16, '\0')); },
     "(free-list-stale) password-digest", "", Form::Encrypted},
    {"password_digest_changed", [](RawFile& raw) { raw.bytes[1006] = '!'; }, "(free-list-stale)",
     "", Form::Encrypted},
    // The record of free blocks.
    {"record_digest", [](RawFile& raw) { raw.bytes[RawFile::At(14, 21)] ^= 1; },
     "(free-list-stale)"},
    {"record_highest", [](RawFile& raw) { raw.bytes[RawFile::At(14, 21 + 19)] = '\x7F'; },
     "(free-list-stale)", "", Form::Plain},
    {"record_flag", [](RawFile& raw) { raw.bytes[RawFile::At(14, 21 + 20 + 3)] = 0; },
     "(free-list-flags)", "", Form::Plain},
    {"record_size",
     [](RawFile& raw) {
         raw.SetNumber(kFreeListSlot + 313, 8, 17 + 21);
         SetBytes(raw, RawFile::At(14, 21), raw.DirectoryDigest());
     },
     "free-list-size", "", Form::Plain},
    {"record_missing",
     [](RawFile& raw) { SetBytes(raw, kFreeListSlot + 309, std::string(12, '\0')); },
     "(free-list-missing) (orphan-block)"},
    {"record_cycle", [](RawFile& raw) { SetNext(raw, 14, 14); },
     "(free-list-stale) block-not-full chain-cycle"},
};

void PrintTo(const Case& damage, std::ostream* out) {
    *out << damage.name;
}

class DamageKinds : public testing::TestWithParam<std::tuple<Case, bool>> {};

TEST_P(DamageKinds, AreFoundAndRepaired) {
    const auto& [damage, encrypted] = GetParam();
    if (damage.form == (encrypted ? Form::Plain : Form::Encrypted)) {
        return;
    }
    const TempFolder folder;
    const std::string path = folder / "file";
    const char* const password = encrypted ? kPassword : nullptr;
    RawFile raw(SoundFile(encrypted));
    WriteFile(path, raw.bytes);
    ASSERT_EQ(KindsFound(path, password), "") << Findings(path, password);
    damage.damage(raw);
    WriteFile(path, raw.bytes);
    EXPECT_EQ(KindsFound(path, password), damage.kinds) << Findings(path, password);

    const Repaired repaired = Repair(path, password);
    for (const auto& [name, bytes] : kSound) {
        const auto found = repaired.entries.find(name);
        const bool isWhole = found != repaired.entries.end() && found->second == bytes;
        const bool isChanged = std::string(damage.changed).find(name) != std::string::npos;
        EXPECT_EQ(isWhole, !isChanged) << name;
        EXPECT_FALSE(encrypted && repaired.bytes.find(bytes.substr(0, 8)) != std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, DamageKinds,
                         testing::Combine(testing::ValuesIn(kCases), testing::Bool()),
                         [](const auto& tested) {
                             return std::get<0>(tested.param).name +
                                    std::string(std::get<1>(tested.param) ? "_encrypted" : "");
                         });

} // namespace
