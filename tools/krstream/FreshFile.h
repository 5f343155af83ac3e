#pragma once

#include "Descriptor.h"

#include <TALVOkrstream/CompoundFile.h>

#include <string>

/// A compound file that is written under a name of its own beside its target and put there when it
/// is whole; removed when it never gets there. A target that is a link is followed.
class FreshFile {
public:
    enum class Existing { Refuse, Replace };

    FreshFile(const std::string& target, Existing existing);
    FreshFile(const FreshFile&) = delete;
    FreshFile& operator=(const FreshFile&) = delete;
    ~FreshFile();

    CompoundFile& Handle() { return handle_; }

    /// Closes the file and renames it; one that replaces another is on disk by then.
    void PutInPlace();

private:
    void Rename() const;

    std::string target_;
    const Existing existing_;
    std::string temporary_;
    UniqueFd descriptor_;
    CompoundFile handle_;
};
