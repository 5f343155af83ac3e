#include "Commands.h"
#include "EntryCopy.h"
#include "EntryList.h"
#include "OpenFile.h"
#include "StandardOutput.h"

ExitStatus Cat(const Options& options) {
    Report report;
    OpenFile file(options.file, KrStreamE::ReadOnly);
    file.Unlock(PasswordSource(options.passwordFile));
    EntryCopy copy(report, file.Path());
    StandardOutput out;
    const std::vector<Entry> entries = NamedEntries(file, options.names, report);
    report.Begin("reading", TotalSize(entries));
    for (const Entry& entry : entries) {
        if (copy.Read(file, entry, [&out](std::string_view part) { out.Write(part); })) {
            report.CountDone();
        } else {
            report.Fail(entry.name,
                        "is damaged in " + Printable(file.Path()) +
                            ", its bytes are not all here; 'krstream repair' saves what is left");
        }
    }
    out.Flush();
    return report.Status();
}
