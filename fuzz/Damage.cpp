#include "fuzz/Damage.h"

#include <TALVOkrstream/CompoundFile.h>
#include <TALVOutl/MD5.h>

#include <algorithm>
#include <random>
#include <stdexcept>

namespace {

constexpr std::size_t kBlock = 1024;
const std::string kMagic("KrCompoundFile\0", 15);

class Damaging {
public:
    Damaging(RawFile& file, std::uint32_t seed) : file_(file), random_(seed + 1) {}

    void Run() {
        if (file_.BlockCount() == 0 || OneIn(8)) {
            file_.bytes.resize((file_.BlockCount() + 1) * kBlock);
        }
        for (std::size_t changes = 1 + Below(3); changes > 0; --changes) {
            (this->*Pick(kChanges))();
        }
        if (!OneIn(8)) {
            RepairHeaders();
        }
        if (OneIn(2)) {
            RepairFreeList();
        }
        if (OneIn(64)) {
            file_.bytes.resize(file_.bytes.size() - Below(kBlock));
        }
    }

private:
    std::size_t Below(std::size_t limit) { return random_() % limit; }
    bool OneIn(std::size_t count) { return Below(count) == 0; }
    template <typename T, std::size_t kCount>
    const T& Pick(const T (&choices)[kCount]) {
        return choices[Below(kCount)];
    }
    /// Block 1 more often than others, because the directory begins there.
    std::size_t AnyBlock() { return OneIn(3) ? 1 : 1 + Below(file_.BlockCount()); }
    std::size_t AnySlot() { return RawFile::At(AnyBlock(), 19 + 321 * Below(3)); }
    std::uint64_t AnyLink() { return OneIn(8) ? random_() : Below(file_.BlockCount() + 3); }
    void SetText(std::size_t offset, const std::string& text) {
        file_.bytes.replace(offset, text.size(), text);
    }

    void ChangeLink() { file_.SetNumber(RawFile::At(AnyBlock(), 15), 4, AnyLink()); }
    void ChangeUsed() {
        static constexpr std::uint64_t kUsed[] = {0, 1, 993, 1002, 1003, 1004, 0xFFFF};
        file_.SetNumber(RawFile::At(AnyBlock(), 19), 2, Pick(kUsed));
    }
    void ChangeInUse() { file_.bytes[RawFile::At(AnyBlock(), 4)] ^= 1; }
    void ChangeSignature() {
        static const std::string kTexts[] = {"BlockFile", "Block   1", "Block   3", "Block +2.",
                                             "Blocked in"};
        SetText(RawFile::At(AnyBlock(), 5), Pick(kTexts));
    }
    void ChangeFirstBlock() { file_.SetNumber(AnySlot() + 309, 4, AnyLink()); }
    void ChangeSize() {
        static constexpr std::uint64_t kSizes[] = {
            0, 1, 1002, 1003, 1004, 2006, 0x7FFFFFFF, 0xFFFFFFFF, INT64_MAX, UINT64_MAX};
        file_.SetNumber(AnySlot() + 313, 8, OneIn(3) ? Below(9000) : Pick(kSizes));
    }
    void ChangeName() {
        static const std::string kNames[] = {"a", "b", "C", std::string(257, 'n'),
                                             CompoundFile::kFreeListEntryName};
        SetText(AnySlot(), (Pick(kNames) + '\0').substr(0, 257));
    }
    void CopySlot() { SetText(AnySlot(), file_.bytes.substr(AnySlot(), 321)); }
    void MakeDirBlock() { SetText(RawFile::At(AnyBlock(), 982), kMagic.substr(Below(4) / 3)); }
    void ChangePassword() {
        const MD5::RawDigest digest = MD5("secret").GetRawDigest();
        SetText(1006, std::string(digest.begin(), digest.end()));
        file_.bytes[1022] ^= 1;
    }
    void CopyBlock() {
        SetText(RawFile::At(AnyBlock()), file_.bytes.substr(RawFile::At(AnyBlock()), kBlock));
    }
    void CutBlocks() { file_.bytes.resize((1 + Below(file_.BlockCount())) * kBlock); }

    void RepairHeaders() {
        for (std::size_t block = 1; block <= file_.BlockCount(); ++block) {
            file_.SetNumber(RawFile::At(block), 4, block);
            if (file_.bytes.compare(RawFile::At(block, 5), 5, "Block") != 0) {
                SetText(RawFile::At(block, 5), "Block   2" + std::string(1, '\0'));
            }
        }
    }
    void RepairFreeList() {
        try {
            const std::size_t block = file_.Find(CompoundFile::kFreeListEntryName).firstBlock;
            file_.SetNumber(RawFile::At(block, 21 + 16), 4, file_.BlockCount());
            const std::size_t flag = 21 + 20 + Below(file_.BlockCount() + 1);
            file_.bytes.at(RawFile::At(block, std::min(flag, kBlock - 1))) ^= 1;
            SetText(RawFile::At(block, 21), file_.DirectoryDigest());
        } catch (const std::exception&) {
            // There is no such record any more.
        }
    }

    static constexpr void (Damaging::*kChanges[])() = {
        &Damaging::ChangeLink,       &Damaging::ChangeUsed, &Damaging::ChangeInUse,
        &Damaging::ChangeSignature,  &Damaging::ChangeSize, &Damaging::ChangeName,
        &Damaging::ChangeFirstBlock, &Damaging::CopySlot,   &Damaging::MakeDirBlock,
        &Damaging::ChangePassword,   &Damaging::CopyBlock,  &Damaging::CutBlocks};

    RawFile& file_;
    std::minstd_rand random_;
};

} // namespace

void Damage(RawFile& file, std::uint32_t seed) {
    Damaging(file, seed).Run();
}
