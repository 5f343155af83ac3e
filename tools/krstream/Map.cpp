#include "BlockMap.h"
#include "Commands.h"
#include "MapPictures.h"
#include "OutputFile.h"
#include "RecoveryFile.h"
#include "StandardOutput.h"

#include <cstdlib>

namespace {

/// Colours where they can be seen and have not been asked to stay away.
bool WantsColours(const StandardOutput& out) {
    const char* const none = std::getenv("NO_COLOR");
    return out.IsTerminal() && (none == nullptr || *none == '\0');
}

void Print(const Pictured& pictured) {
    StandardOutput out;
    out.Write(DrawText(pictured, TerminalColumns(STDOUT_FILENO), WantsColours(out)));
    out.Flush();
}

void WriteSvg(const Pictured& pictured, const std::string& path, OutputFile::Existing existing) {
    OutputFile output(path, existing);
    const int error = WriteAll(output.Descriptor(), DrawSvg(pictured));
    if (error != 0) {
        throw Failure(path, "could not be written: " + WriteErrorText(error));
    }
    output.PutInPlace();
}

} // namespace

ExitStatus Map(const Options& options) {
    Report report;
    Recovery::File file;
    const bool inTerminal = options.target.empty();
    const UniqueFd replaced =
        inTerminal ? UniqueFd() : HoldTarget(options.file, options.target, options.force);
    OpenForRecovery(file, options.file, report, ExitStatus::InUse);
    const BlockMap map(file);
    const Pictured pictured{map, options.file, file.IsEncrypted()};
    if (inTerminal) {
        Print(pictured);
    } else {
        WriteSvg(pictured, options.target,
                 replaced ? OutputFile::Existing::Replace : OutputFile::Existing::Refuse);
    }
    return ExitStatus::Done;
}
