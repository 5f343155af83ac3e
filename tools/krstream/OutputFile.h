#pragma once

#include "Descriptor.h"

#include <string>

/// For a file that is to be written where one may be: holds that one, so that nobody opens it for
/// changes that would be lost. Throws Failure when it must not be replaced, which takes `force`;
/// none when nothing is there.
UniqueFd HoldReplaced(const std::string& path, bool force);

/// The same for a file that is to be made from `file`, before that is read, which can take long.
/// Throws Failure also when `file` cannot be read, or is the target itself.
UniqueFd HoldTarget(const std::string& file, const std::string& target, bool force);

/// A file that is written under a name of its own beside its target and put there when it is whole;
/// removed when it never gets there. A target that is a link is followed.
class OutputFile {
public:
    enum class Existing { Refuse, Replace };

    OutputFile(const std::string& target, Existing existing);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    const std::string& Target() const { return target_; }
    /// Name of the file while it is written, and a descriptor that may be used for that.
    const std::string& Temporary() const { return temporary_; }
    int Descriptor() const { return descriptor_.Get(); }

    /// Renames the file; one that replaces another is on disk by then.
    void PutInPlace();

private:
    void Rename() const;

    std::string target_;
    const Existing existing_;
    std::string temporary_;
    UniqueFd descriptor_;
};
