#include "Commands.h"
#include "EntryCopy.h"
#include "EntryList.h"
#include "Names.h"
#include "OpenFile.h"
#include "TargetFolder.h"

namespace {

class Extractor {
public:
    Extractor(OpenFile& file, const Options& options, Report& report)
        : file_(file),
          mayReplace_(options.force),
          report_(report),
          copy_(report, file.Path()),
          folder_(options.folder) {}

    void Extract(const Entry& entry) {
        const auto elements = PathElements(entry.name);
        if (!elements) {
            report_.Skip(entry.name, "not extracted, the name does not stay below the folder; use "
                                     "'krstream cat'");
            return;
        }
        try {
            ExtractTo(*elements, entry);
        } catch (const NotExtracted& reason) {
            if (reason.WasRefused()) {
                report_.Skip(entry.name, reason.what());
            } else {
                report_.Fail(entry.name, reason.what());
            }
        }
    }

private:
    void ExtractTo(const std::vector<std::string>& elements, const Entry& entry) {
        TargetFile target(folder_.Parent(elements), elements.back(), mayReplace_);
        const auto write = [&](std::string_view part) {
            const int error = WriteAll(target.Descriptor(), part);
            if (error != 0) {
                throw Failure(entry.name, "could not be written: " + WriteErrorText(error));
            }
        };
        if (!copy_.Read(file_, entry, write)) {
            report_.Fail(entry.name, "not extracted, it is damaged in " + Printable(file_.Path()) +
                                         "; 'krstream repair' saves what is left");
            return;
        }
        target.Keep();
        report_.CountDone();
    }

    OpenFile& file_;
    const bool mayReplace_;
    Report& report_;
    EntryCopy copy_;
    TargetFolder folder_;
};

std::vector<Entry> Chosen(OpenFile& file, const Options& options, Report& report) {
    if (!options.names.empty()) {
        return NamedEntries(file, options.names, report);
    }
    return options.all ? AllEntries(file.Handle()) : UserEntries(file.Handle());
}

} // namespace

ExitStatus Extract(const Options& options) {
    Report report;
    OpenFile file(options.file, KrStreamE::ReadOnly);
    file.Unlock(PasswordSource(options.passwordFile));
    Extractor extractor(file, options, report);
    const std::vector<Entry> entries = Chosen(file, options, report);
    report.Begin("extracting", TotalSize(entries));
    for (const Entry& entry : entries) {
        extractor.Extract(entry);
    }
    return report.Status();
}
