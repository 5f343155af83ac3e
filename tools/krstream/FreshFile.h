#pragma once

#include "Descriptor.h"

#include <TALVOkrstream/CompoundFile.h>

#include <string>

/// For a file that is to be written where one may be: holds that one, so that nobody opens it for
/// changes that would be lost. Throws Failure when it must not be replaced, which takes `force`;
/// none when nothing is there.
UniqueFd HoldReplaced(const std::string& path, bool force);

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
