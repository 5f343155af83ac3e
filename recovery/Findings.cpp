#include "recovery/Findings.h"

#include <cstddef>

using Recovery::Kind;
using Recovery::Severity;

namespace {

constexpr const char* kNames[] = {
    "file-length",        "block-unreadable",     "block-number",
    "block-signature",    "block-padding",        "in-use-value",
    "used-bytes",         "marked-free",          "orphan-block",
    "directory-magic",    "directory-beyond-end", "directory-cycle",
    "directory-unlinked", "directory-flags",      "password-digest",
    "name-empty",         "name-unterminated",    "name-duplicate",
    "time-text",          "free-slot-size",       "chain-beyond-end",
    "chain-cycle",        "chain-crossed",        "chain-in-directory",
    "chain-unreadable",   "block-not-full",       "last-block-full",
    "size-over-chain",    "chain-over-size",      "free-list-missing",
    "free-list-stale",    "free-list-flags",      "free-list-size"};
constexpr std::size_t kKindCount = sizeof kNames / sizeof *kNames;
static_assert(kKindCount == static_cast<std::size_t>(Kind::FreeListSize) + 1);

} // namespace

const char* Recovery::NameOf(Kind kind) {
    return kNames[static_cast<std::size_t>(kind)];
}

void Findings::Add(Kind kind, Severity severity, BlockFormat::BlockNumber block,
                   const std::string& entry, const std::string& text) {
    latest_.resize(kKindCount, SIZE_MAX);
    std::size_t& latest = latest_[static_cast<std::size_t>(kind)];
    if (latest < findings_.size() && block != BlockFormat::kNoBlock) {
        Recovery::Finding& before = findings_[latest];
        if (before.block != BlockFormat::kNoBlock && before.block + before.blockCount == block &&
            before.severity == severity && before.entry == entry && before.text == text) {
            ++before.blockCount;
            return;
        }
    }
    latest = findings_.size();
    findings_.push_back(
        {kind, severity, block, block == BlockFormat::kNoBlock ? 0U : 1U, entry, text});
}
