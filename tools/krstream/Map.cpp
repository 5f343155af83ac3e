#include "BlockMap.h"
#include "Commands.h"
#include "MapPictures.h"
#include "OpenFile.h"
#include "OutputFile.h"
#include "RecoveryFile.h"
#include "StandardOutput.h"

#include <cstdlib>

namespace {

void WriteSvg(const Options& options, const Pictured& pictured) {
    const UniqueFd replaced = HoldReplaced(options.target, options.force);
    OutputFile output(options.target,
                      replaced ? OutputFile::Existing::Replace : OutputFile::Existing::Refuse);
    const int error = WriteAll(output.Descriptor(), DrawSvg(pictured));
    if (error != 0) {
        throw Failure(options.target, "could not be written: " + WriteErrorText(error));
    }
    output.PutInPlace();
}

/// Colours where they can be seen and have not been asked to stay away.
bool WantsColours(const StandardOutput& out) {
    const char* const none = std::getenv("NO_COLOR");
    return out.IsTerminal() && (none == nullptr || *none == '\0');
}

} // namespace

ExitStatus Map(const Options& options) {
    Report report;
    Recovery::File file;
    if (!options.target.empty()) {
        RequireRegularFile(options.file, KrStreamE::ReadOnly);
        RefuseSameFile(options.file, options.target);
    }
    OpenForRecovery(file, options.file, report, ExitStatus::InUse);
    const BlockMap map(file);
    const Pictured pictured{map, options.file, file.IsEncrypted()};
    if (!options.target.empty()) {
        WriteSvg(options, pictured);
        return ExitStatus::Done;
    }
    StandardOutput out;
    out.Write(DrawText(pictured, TerminalColumns(STDOUT_FILENO), WantsColours(out)));
    out.Flush();
    return ExitStatus::Done;
}
