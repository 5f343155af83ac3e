#include "Commands.h"
#include "Json.h"
#include "RecoveryFile.h"
#include "StandardOutput.h"

#include <algorithm>
#include <vector>

namespace {

using Findings = std::vector<Recovery::Finding>;

bool IsDamage(const Recovery::Finding& finding) {
    return finding.severity == Recovery::Severity::Damage;
}

const char* NameOf(Recovery::Severity severity) {
    return severity == Recovery::Severity::Damage ? "damage" : "notice";
}

/// What a finding is about, with a comma behind each part.
std::string Subject(const Recovery::Finding& finding) {
    std::string subject;
    if (finding.blockCount == 1) {
        subject = "block " + std::to_string(finding.block) + ", ";
    } else if (finding.blockCount > 1) {
        subject = "blocks " + std::to_string(finding.block) + " to " +
                  std::to_string(finding.block + finding.blockCount - 1) + ", ";
    }
    return finding.entry.empty() ? subject : subject + "entry " + Printable(finding.entry) + ", ";
}

void PrintText(const Findings& findings, StandardOutput& out) {
    for (const Recovery::Finding& finding : findings) {
        out.Write(std::string(NameOf(finding.severity)) + ": " + Subject(finding) +
                  Recovery::NameOf(finding.kind) + ": " + finding.text + '\n');
    }
}

void PrintJson(const std::string& path, const Recovery::File& file, const Findings& findings,
               StandardOutput& out) {
    Json list = Json::array();
    for (const Recovery::Finding& finding : findings) {
        list.push_back({{"kind", Recovery::NameOf(finding.kind)},
                        {"severity", NameOf(finding.severity)},
                        {"block", finding.block},
                        {"block_count", finding.blockCount},
                        {"entry", finding.entry},
                        {"text", finding.text}});
    }
    WriteJson({{"file", path},
               {"encrypted", file.IsEncrypted()},
               {"all_checked", file.IsReadable()},
               {"damaged", std::any_of(findings.begin(), findings.end(), IsDamage)},
               {"findings", list}},
              out);
}

} // namespace

ExitStatus Check(const Options& options) {
    Report report;
    Recovery::File file;
    // To who asks for the state of a file, "in use" is one of the reasons why it cannot be had.
    OpenForRecovery(file, options.file, report, ExitStatus::Failed);
    if (!options.passwordFile.empty()) {
        Unlock(file, options.file, PasswordSource(options.passwordFile));
    }
    const Findings findings = file.Check();
    if (!file.IsReadable()) {
        report.Note(options.file, "is encrypted, so the content of its record of free blocks was "
                                  "not checked; give the password with --password-file");
    }
    StandardOutput out;
    if (options.json) {
        PrintJson(options.file, file, findings, out);
    } else {
        PrintText(findings, out);
    }
    out.Flush();
    return findings.empty() ? ExitStatus::Done : ExitStatus::DonePartly;
}
