#pragma once

#include "tests/support/TempFolder.h"

#include <TALVOkrstream/Recovery.h>

#include <set>
#include <sstream>
#include <string>

/// What a check of a file finds: a line for each kind, those that are mere notices in brackets.
/// Empty for a sound file.
inline std::string KindsFound(const std::string& path, const char* password = nullptr) {
    Recovery::File file;
    if (file.Open(path.c_str()) != Recovery::Status::Ok || !file.SetPassword(password)) {
        return "not to be checked";
    }
    std::set<std::string> kinds;
    for (const Recovery::Finding& finding : file.Check()) {
        const std::string name = Recovery::NameOf(finding.kind);
        kinds.insert(finding.severity == Recovery::Severity::Damage ? name : '(' + name + ')');
    }
    std::string all;
    for (const std::string& kind : kinds) {
        all += (all.empty() ? "" : " ") + kind;
    }
    return all;
}

/// As above, every finding in full. An encrypted file is checked without its password too.
inline std::string Findings(const std::string& path, const char* password = nullptr) {
    Recovery::File file;
    std::ostringstream lines;
    if (file.Open(path.c_str()) != Recovery::Status::Ok) {
        return "not to be checked";
    }
    file.SetPassword(password);
    for (const Recovery::Finding& finding : file.Check()) {
        lines << Recovery::NameOf(finding.kind) << ' ' << finding.block << '+' << finding.blockCount
              << ' ' << finding.entry << ": " << finding.text << '\n';
    }
    return lines.str();
}
