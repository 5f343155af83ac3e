#pragma once

#include "OutputFile.h"

#include <TALVOkrstream/CompoundFile.h>

#include <string>

/// A compound file that appears at its target when it is whole, or never; see OutputFile.
class FreshFile {
public:
    using Existing = OutputFile::Existing;

    FreshFile(const std::string& target, Existing existing);

    CompoundFile& Handle() { return handle_; }

    /// Closes the file and puts it in its place.
    void PutInPlace();

private:
    OutputFile output_;
    CompoundFile handle_;
};
