#include "recovery/FormatCheck.h"
#include "recovery/FreeListRecord.h"
#include "recovery/Protection.h"
#include "recovery/Salvage.h"

#include <TALVOkrstream/Recovery.h>

#include <algorithm>

namespace Recovery {

/// What was seen of the file. The members are made in this order, each from those before.
struct File::State {
    State(std::unique_ptr<SourceFile> source, const Progress& progress)
        : file(std::move(source)),
          table(*file, progress),
          directory(*file, table),
          plan(table, directory),
          reader(*file, table),
          protection(directory, plan, reader) {}

    const std::unique_ptr<SourceFile> file;
    const BlockTable table;
    DirectoryScan directory;
    const ChainPlan plan;
    PayloadReader reader;
    Protection protection;
};

File::File() = default;
File::~File() = default;

Status File::Open(const char* path, const Progress& progress) {
    state_.reset();
    auto source = std::make_unique<SourceFile>();
    switch (source->Open(path)) {
    case SourceFile::Opened::Ok:
        break;
    case SourceFile::Opened::Failed:
        return Status::NotOpen;
    case SourceFile::Opened::InUse:
        return Status::InUse;
    }
    auto state = std::make_unique<State>(std::move(source), progress);
    if (state->table.Count() > 0 && !state->table.HasAnySigned()) {
        return Status::NotBlockFile;
    }
    state_ = std::move(state);
    return Status::Ok;
}

std::uint64_t File::Length() const {
    return state_ != nullptr ? state_->file->Length() : 0;
}

bool File::IsEncrypted() const {
    return state_ != nullptr && state_->protection.IsEncrypted();
}

bool File::SetPassword(const char* password) {
    return state_ == nullptr || state_->protection.SetPassword(password);
}

bool File::IsReadable() const {
    return state_ != nullptr && state_->protection.IsReadable();
}

const std::vector<Block>& File::Blocks() const {
    static const std::vector<Block> none;
    return state_ != nullptr ? state_->plan.Blocks() : none;
}

const std::vector<Entry>& File::Entries() const {
    static const std::vector<Entry> none;
    return state_ != nullptr ? state_->directory.Entries() : none;
}

std::vector<Finding> File::Check() {
    Findings findings;
    if (state_ == nullptr) {
        return {};
    }
    FormatCheck(*state_->file, state_->table, state_->directory, state_->plan, findings).Run();
    const auto record = std::find_if(Entries().begin(), Entries().end(),
                                     [](const Entry& entry) { return entry.isFreeList; });
    if (record != Entries().end() && IsReadable()) {
        FreeListCheck(state_->table, state_->directory, state_->plan, state_->reader, findings)
            .Check(static_cast<std::size_t>(record - Entries().begin()));
    }
    return findings.Take();
}

Status File::Repair(CompoundFile& target, std::vector<Saved>& saved, const Progress& progress) {
    if (state_ == nullptr) {
        return Status::NotOpen;
    }
    if (!IsReadable()) {
        return Status::PasswordRequired;
    }
    // Before the first entry, so that no plain byte of one reaches the disk.
    if (IsEncrypted() && target.Encrypt(state_->protection.Password().c_str()) != KrStreamE::Ok) {
        return Status::WriteFailed;
    }
    Salvage salvage(state_->table, state_->directory, state_->plan, state_->reader, target,
                    progress);
    return salvage.Run(saved) ? Status::Ok : Status::WriteFailed;
}

} // namespace Recovery
