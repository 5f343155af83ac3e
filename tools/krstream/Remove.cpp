#include "Commands.h"
#include "EntryList.h"
#include "Interrupt.h"
#include "Names.h"
#include "OpenFile.h"

#include <algorithm>
#include <unordered_set>

ExitStatus Remove(const Options& options) {
    Report report;
    OpenFile file(options.file, KrStreamE::ReadWrite);
    if (std::any_of(options.names.begin(), options.names.end(), IsFreeListName)) {
        throw Failure(options.file, std::string("entry ") + CompoundFile::kFreeListEntryName +
                                        " is the library's own and stays; nothing was deleted");
    }
    file.Unlock(PasswordSource(options.passwordFile));
    std::unordered_set<std::string> deleted;
    for (const Entry& entry : NamedEntries(file, options.names, report)) {
        StopIfInterrupted();
        if (!deleted.insert(entry.name).second) {
            continue;
        }
        if (file.Handle().DeleteCFFile(entry.name.c_str())) {
            report.CountDone();
        } else {
            report.Fail(entry.name,
                        "could not be deleted, it is damaged or the disk is full; make room, or "
                        "save what is left with 'krstream repair'");
            file.Recover();
        }
    }
    file.CloseWritten();
    return report.Status();
}
