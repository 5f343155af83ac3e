#include "fuzz/Decoder.h"
#include "fuzz/Require.h"
#include "tests/support/Entries.h"
#include "tests/support/Findings.h"

namespace {

constexpr char kPassword[] = "secret";

std::string PathOf(const char* name) {
    static const TempFolder folder;
    return folder / name;
}

/// Every entry has in the repaired file the length that was told, under the name that was told. A
/// chain can hold more than the directory records.
void RequireSaved(const std::vector<Recovery::Saved>& all, CompoundFile& target) {
    for (const Recovery::Saved& saved : all) {
        if (saved.extent == Recovery::Saved::Extent::Lost) {
            continue;
        }
        const std::optional<std::string> bytes = Get(target, saved.savedAs);
        Require(bytes && bytes->size() == saved.bytes, "what was saved is there", saved.savedAs);
        Require(saved.extent != Recovery::Saved::Extent::Whole ||
                    saved.bytes >= saved.recordedBytes,
                "a whole entry is no shorter", saved.savedAs);
    }
}

/// Repairs to a new file, which has to be sound.
void RequireRepair(Recovery::File& file) {
    const std::string fresh = PathOf("fresh");
    WriteFile(fresh, "");
    const char* const password = file.IsEncrypted() ? kPassword : nullptr;
    std::vector<Recovery::Saved> saved;
    CompoundFile target;
    target.Open(fresh.c_str(), KrStreamE::ReadWrite);
    Require(file.Repair(target, saved) == Recovery::Status::Ok, "a repair ends");
    target.Close();
    Require(Findings(fresh, password).empty(), "a repaired file is sound");
    target.Open(fresh.c_str(), KrStreamE::ReadOnly);
    Require(target.SetPassword(password), "a repaired file has its password");
    RequireSaved(saved, target);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    Decoder input(bytes, count);
    const bool hasPassword = input.Byte() / 2 % 2 != 0;
    const std::string content = input.Rest();
    const std::string path = PathOf("file");
    WriteFile(path, content);
    Recovery::File file;
    if (file.Open(path.c_str()) != Recovery::Status::Ok) {
        return 0;
    }
    if (hasPassword) {
        file.SetPassword(kPassword);
    }
    const std::size_t blocks = file.Blocks().size();
    Require(blocks == (content.size() + 1023) / 1024, "every block is told about");
    Require(file.Check().size() <= 20 * (blocks + 1), "findings in proportion to the file");
    if (file.IsReadable()) {
        RequireRepair(file);
    }
    Require(ReadFile(path) == content, "a file that is looked over stays as it is");
    return 0;
}
