#include "fuzz/Damage.h"
#include "tests/support/Entries.h"
#include "tests/support/TempFolder.h"

#include <functional>

namespace {

namespace fs = boost::filesystem;

/// A file as a program leaves it that does `edit` to one with these entries.
std::string Edited(const Model& entries, const std::function<void(CompoundFile&)>& edit) {
    const auto stream = std::make_shared<std::stringstream>(FileOf(entries));
    CompoundFile file;
    file.Open(stream, false);
    edit(file);
    file.Close();
    return stream->str();
}

Model EntriesOf(std::initializer_list<std::size_t> sizes) {
    Model entries;
    for (const std::size_t size : sizes) {
        entries[std::string(1, static_cast<char>('a' + entries.size()))] = Pattern(size, 1);
    }
    return entries;
}

std::string Damaged(const std::string& bytes, const std::function<void(RawFile&)>& damage) {
    RawFile file(bytes);
    damage(file);
    return file.bytes;
}

/// Sound files of many shapes, and damaged ones, by what is special about them.
Model BlockFiles() {
    const std::string several = FileOf(EntriesOf({100, 1002, 1003, 2006, 0}));
    return {
        {"empty", ""},
        {"block_edges", several},
        {"reused", Edited(EntriesOf({3500, 1500, 10}),
                          [](CompoundFile& file) {
                              file.DeleteCFFile("a");
                              file.DeleteCFFile("c");
                              Put(file, "b2", Pattern(5000, 3));
                          })},
        {"directory_blocks", FileOf(EntriesOf({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}))},
        {"version_1", Version1File("legacy", Pattern(1500, 1)).bytes},
        {"encrypted",
         Edited(EntriesOf({100, 1003, 2500}), [](CompoundFile& file) { file.Encrypt("secret"); })},
        {"cycle", Damaged(several,
                          [](RawFile& file) {
                              const std::uint32_t first = file.Find("d").firstBlock;
                              file.SetNumber(RawFile::At(file.Chain(first)[1], 15), 4, first);
                          })},
        {"shared_tail",
         Damaged(several,
                 [](RawFile& file) {
                     const std::vector<std::uint32_t> tail = file.Chain(file.Find("d").firstBlock);
                     file.SetNumber(RawFile::At(file.Find("c").firstBlock, 15), 4, tail[1]);
                 })},
        {"short_chains_into_a_long_one",
         Damaged(FileOf(EntriesOf({1500, 1600, 5000, 10})),
                 [](RawFile& file) {
                     const std::vector<std::uint32_t> tail = file.Chain(file.Find("c").firstBlock);
                     for (const char* name : {"a", "b"}) {
                         file.SetNumber(RawFile::At(file.Find(name).firstBlock, 15), 4, tail[1]);
                     }
                     file.bytes[RawFile::At(tail[3], 4)] = 0;
                 })},
        {"overfull_and_marked_free",
         Damaged(several,
                 [](RawFile& file) {
                     const std::uint32_t first = file.Find("a").firstBlock;
                     file.SetNumber(RawFile::At(first, 19), 2, 1004);
                     file.bytes[RawFile::At(first, 4)] = 0;
                     file.bytes[RawFile::At(file.Find(CompoundFile::kFreeListEntryName).firstBlock,
                                            21)] ^= 1;
                 })},
    };
}

void WriteSeed(const fs::path& folder, const std::string& name, const std::string& bytes) {
    fs::create_directories(folder);
    WriteFile((folder / name).string(), bytes);
}

void WriteBlockFiles(const fs::path& folder) {
    for (const auto& [name, bytes] : BlockFiles()) {
        for (unsigned i = 0; i < 20; ++i) {
            // How the target opens the file, and what it does there.
            const auto options = static_cast<char>(i * 4 + i % 4);
            WriteSeed(folder, name + std::to_string(i), options + bytes);
            RawFile damaged(bytes);
            Damage(damaged, i);
            WriteSeed(folder, name + "_damaged" + std::to_string(i), options + damaged.bytes);
        }
    }
}

/// Operations as they come.
void WriteRandomSeeds(const fs::path& folder) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        WriteSeed(folder, "random" + std::to_string(seed), Pattern(std::size_t{14} * seed, seed));
    }
}

} // namespace

/// Writes the fuzz targets' first inputs into folders of a given one.
int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    const fs::path folder = argv[1];
    WriteBlockFiles(folder / "block_file");
    WriteBlockFiles(folder / "recovery");
    for (const char* target : {"operations", "records", "sources"}) {
        WriteRandomSeeds(folder / target);
    }
    return 0;
}
