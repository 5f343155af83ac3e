#pragma once

#include "blockfile/BlockFormat.h"

#include <TALVOkrstream/Recovery.h>

#include <string>
#include <vector>

/// Collects findings. A finding alike about the next block is joined to the one before, so that a
/// file's worth of foreign blocks is one line.
class Findings {
public:
    void Add(Recovery::Kind kind, Recovery::Severity severity, BlockFormat::BlockNumber block,
             const std::string& entry, const std::string& text);

    std::vector<Recovery::Finding> Take() { return std::move(findings_); }

private:
    std::vector<Recovery::Finding> findings_;
    /// The latest finding of each kind.
    std::vector<std::size_t> latest_;
};
