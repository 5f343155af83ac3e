#include "blockfile/FileStore.h"
#include "tests/support/Entries.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace {

bool isMemoryShort = false;

} // namespace

// The linker prefers this to the C library's, from which a large window has its memory.
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    void* memory = nullptr;
    return !isMemoryShort && posix_memalign(&memory, alignment, size) == 0 ? memory : nullptr;
}

namespace {

const unsigned char* Bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

TEST(FileStore, BehavesLikeAString) {
    const TempFolder folder;
    std::mt19937 random(1);
    std::string model;
    auto store = FileStore::Open((folder / "f").c_str(), false);
    for (int step = 0; step < 3000; ++step) {
        if (step % 50 == 0) {
            store.reset();
            store = FileStore::Open((folder / "f").c_str(), false);
            ASSERT_NE(store, nullptr);
        }
        const std::size_t count = 1 + random() % 3000;
        const std::size_t near = model.size() > 5000 ? model.size() - 5000 : 0;
        const std::size_t at = random() % 4 == 0 ? random() % (model.size() + 1)
                                                 : near + random() % (model.size() - near + 1);
        const auto what = random() % 3;
        if (what == 0) {
            const std::string bytes = Pattern(count, static_cast<unsigned>(random()));
            ASSERT_TRUE(store->Write(at, Bytes(bytes), count));
            model.resize(std::max(model.size(), at + count));
            model.replace(at, count, bytes);
        } else if (what == 1) {
            const std::size_t needed = std::min<std::size_t>(count, 1024);
            const ByteStore::Bytes view = store->View(at, needed, random() % 9000);
            ASSERT_GE(view.count, std::min(needed, model.size() - at)) << step;
            ASSERT_TRUE(std::equal(view.first, view.first + view.count, Bytes(model) + at)) << step;
        } else {
            std::string bytes(count, '\0');
            bytes.resize(store->Read(at, reinterpret_cast<unsigned char*>(&bytes[0]), count));
            ASSERT_EQ(bytes, model.substr(at, count)) << step;
        }
    }
    ASSERT_TRUE(store->Flush());
    EXPECT_EQ(ReadFile(folder / "f"), model);
}

// Of what is read with a block of a scattered chain most is not wanted.
TEST(FileStore, ReadsLittleWhereItJumps) {
    const TempFolder folder;
    WriteFile(folder / "f", std::string(1 << 20, 'x'));
    const auto store = FileStore::Open((folder / "f").c_str(), true);
    for (const std::uint64_t offset : {900'000, 600'000, 300'000}) {
        const std::size_t got = store->View(offset, 1024, 1 << 20).count;
        EXPECT_LE(got, 20'000U);
        EXPECT_GE(store->View(offset + got, 1024, 1 << 20).count, 100'000U) << "it goes on there";
    }
}

// What is in the window when a write makes it larger is still shown and sent from there.
TEST(FileStore, KeepsWhatItHoldsWhenItGrows) {
    const TempFolder folder;
    std::string model = Pattern(8192, 1);
    WriteFile(folder / "f", model);
    const auto store = FileStore::Open((folder / "f").c_str(), false);
    ASSERT_EQ(store->View(0, 1024, 8192).count, 8192U);
    for (const std::uint64_t offset : {8192, 9216}) {
        ASSERT_TRUE(store->Write(offset, Bytes(model), 1024));
        model += model.substr(0, 1024);
    }
    const ByteStore::Bytes view = store->View(0, 1024, 1024);
    ASSERT_EQ(view.count, model.size());
    EXPECT_TRUE(std::equal(view.first, view.first + view.count, Bytes(model)));
}

TEST(FileStore, FailsWithoutMemory) {
    const TempFolder folder;
    const std::string model = Pattern(20480, 1);
    WriteFile(folder / "f", model);
    const auto store = FileStore::Open((folder / "f").c_str(), false);
    isMemoryShort = true;
    EXPECT_EQ(store->View(0, 1024, 10240).count, 0U);
    EXPECT_FALSE(store->Write(10240, Bytes(model), 1024));
    isMemoryShort = false;
    EXPECT_GE(store->View(0, 1024, 10240).count, 10240U);
    EXPECT_TRUE(store->Flush() && ReadFile(folder / "f") == model);
}

// A later write never overtakes an earlier one on its way to the disk, unless both are one piece or
// lie in one page.
TEST(FileStore, KeepsTheOrderOfWrites) {
    const TempFolder folder;
    const auto store = FileStore::Open((folder / "f").c_str(), false);
    const std::string block(1024, 'x');
    std::string model;
    for (std::uint64_t offset = 0; offset < 8192; offset += 1024) {
        ASSERT_TRUE(store->Write(offset, Bytes(block), 1024));
        model += block;
    }
    EXPECT_EQ(ReadFile(folder / "f").size(), 0U) << "neighbours are gathered";
    ASSERT_TRUE(store->Flush());
    const std::string later(1024, 'y');
    ASSERT_TRUE(store->Write(7168, Bytes(later), 1024));
    ASSERT_TRUE(store->Write(5120, Bytes(later), 1024));
    EXPECT_EQ(ReadFile(folder / "f"), model) << "one page takes both";
    ASSERT_TRUE(store->Write(3072, Bytes(later), 1024));
    model.replace(7168, 1024, later).replace(5120, 1024, later);
    EXPECT_EQ(ReadFile(folder / "f"), model);
    ASSERT_TRUE(store->Flush());
    EXPECT_EQ(ReadFile(folder / "f"), model.replace(3072, 1024, later));
    // What was joined in one page does not go on into the next and take a later write with it.
    for (const std::uint64_t offset : {7168, 4096, 8192, 9216, 5120}) {
        ASSERT_TRUE(store->Write(offset, Bytes(block), 1024));
    }
    model.replace(7168, 1024, block).replace(4096, 1024, block);
    EXPECT_EQ(ReadFile(folder / "f"), model + block + block);
}

// What lies between is sent with them where its page is written anyway, and is not overtaken by
// what comes to stand there later.
TEST(FileStore, SendsSmallGapsAsTheyStand) {
    const TempFolder folder;
    const auto store = FileStore::Open((folder / "f").c_str(), false);
    std::string model = Pattern(20480, 1);
    ASSERT_TRUE(store->Write(0, Bytes(model), model.size()) && store->Flush());
    const std::string later(1024, 'y');
    for (const std::uint64_t offset : {1024, 5120, 11264}) {
        ASSERT_TRUE(store->Write(offset, Bytes(later), 1024));
        EXPECT_TRUE(ReadFile(folder / "f") == model) << "one call takes all";
    }
    ASSERT_TRUE(store->Write(3072, Bytes(later), 1024));
    model.replace(1024, 1024, later).replace(5120, 1024, later).replace(11264, 1024, later);
    EXPECT_TRUE(ReadFile(folder / "f") == model)
        << "a gap is not written to while it is on its way";
    ASSERT_TRUE(store->Write(12288, Bytes(later), 1024));
    model.replace(3072, 1024, later);
    EXPECT_TRUE(ReadFile(folder / "f") == model) << "a whole page is left out";
    ASSERT_TRUE(store->Flush());
    EXPECT_TRUE(ReadFile(folder / "f") == model.replace(12288, 1024, later));
}

} // namespace
