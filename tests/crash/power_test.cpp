#include "tests/crash/CrashTest.h"
#include "tests/support/RawFile.h"

#include <random>

namespace {

using Kind = SystemCalls::Operation::Kind;

/// Whether a file that does not open is one of those of which that is known: its length is no
/// multiple of a block's, or its directory leads to a block that came to it after the last sync.
bool MayStayClosed(const std::string& bytes, const std::string& synced) {
    const RawFile file(bytes);
    const auto isDirBlock = [](const RawFile& raw, std::uint64_t block) {
        return block <= raw.BlockCount() && raw.Number(RawFile::At(block), 4) == block &&
               raw.Text(RawFile::At(block, 982), 15) == "KrCompoundFile";
    };
    if (bytes.size() % 1024 != 0) {
        return true;
    }
    std::uint64_t block = 1;
    while (block != 0 && isDirBlock(file, block)) {
        block = file.Next(block);
    }
    return block != 0 && !isDirBlock(RawFile(synced), block);
}

class PowerLoss : public Crash {
protected:
    void TearDown() override {
        Crash::TearDown();
        std::cout << closed_ << " cannot be opened, " << readOnly_ << " only for reading\n";
    }

    /// The disk after the first `count` operations, those since the last sync as `isDone` says.
    template <typename IsDone>
    Disk DiskAfter(const Work& work, std::size_t count, IsDone isDone) {
        Disk disk = work.Start();
        synced_ = 0;
        for (std::size_t i = 0; i < count; ++i) {
            synced_ = work.Done()[i].kind == Kind::Sync ? i + 1 : synced_;
        }
        std::size_t i = 0;
        for (; i < synced_; ++i) {
            Do(work.Done()[i], disk);
        }
        base_ = disk[path_];
        for (; i < count; ++i) {
            if (isDone(i)) {
                Do(work.Done()[i], disk);
            }
        }
        return disk;
    }

    void Look(const Work& work, std::size_t count, const Disk& disk) {
        const Promises untouched = work.UntouchedBetween(synced_, count);
        Leave(disk);
        CompoundFile file;
        if (file.Open(crashed_.c_str(), KrStreamE::ReadOnly) != KrStreamE::Ok) {
            ++closed_;
            Complain(count, MayStayClosed(ReadFile(crashed_), base_) ? "" : "does not open");
            return;
        }
        file.Close();
        Complain(count, Survey(crashed_, KrStreamE::ReadOnly, untouched, work.Passwords()));
        if (file.Open(crashed_.c_str(), KrStreamE::ReadWrite) != KrStreamE::Ok) {
            ++readOnly_;
            return;
        }
        ChangeTheOthers(file, untouched);
        Complain(count, Survey(crashed_, KrStreamE::ReadOnly, untouched, work.Passwords()));
    }

    std::size_t synced_ = 0;

private:
    void ChangeTheOthers(CompoundFile& file, const Promises& untouched) {
        for (const auto& [name, promise] : untouched) {
            if (!promise.IsWhole()) {
                points_ % 2 == 0 ? file.DeleteCFFile(name.c_str())
                                 : Put(file, name, Pattern(5000, points_));
                file.Open(crashed_.c_str(), KrStreamE::ReadWrite);
            }
        }
        file.Close();
    }

    std::string base_;
    unsigned closed_ = 0;
    unsigned readOnly_ = 0;
};

TEST_F(PowerLoss, SparesWhatWasNotTouchedSinceTheLastSync) {
    ForEachScenario([this](const Work& work) {
        const std::size_t end = work.Done().size();
        std::mt19937 random(static_cast<unsigned>(end));
        for (std::size_t count = 1; count <= end; ++count) {
            const auto all = [](std::size_t) { return true; };
            for (const auto& part : PartsOf(work.Done()[count - 1], kSector)) {
                Disk disk = DiskAfter(work, count - 1, all);
                Do(part, disk);
                Look(work, count, disk);
            }
            Look(work, count,
                 DiskAfter(work, count, [&](std::size_t) { return random() % 2 == 0; }));
            const std::size_t window = count - synced_;
            if (window == 0) {
                continue;
            }
            const std::size_t one = synced_ + random() % window;
            Look(work, count, DiskAfter(work, count, [&](std::size_t i) { return i != one; }));
            Look(work, count, DiskAfter(work, count, [&](std::size_t i) { return i == one; }));
        }
    });
}

} // namespace
