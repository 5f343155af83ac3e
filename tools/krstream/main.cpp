#include "CommandLine.h"
#include "Descriptor.h"
#include "Interrupt.h"
#include "Report.h"

#include <csignal>
#include <exception>
#include <new>

namespace {

ExitStatus Run(int argc, const char* const* argv) {
    try {
        return RunCommandLine(argc, argv);
    } catch (const Failure& failure) {
        if (*failure.what() != '\0') {
            PrintMessage(failure.what());
        }
        return failure.Status();
    } catch (const Interrupted&) {
        EndByInterrupt();
    } catch (const std::bad_alloc&) {
        PrintMessage("there is not enough memory; nothing more was done, close other programs");
        return ExitStatus::Failed;
    } catch (const std::exception& error) {
        PrintMessage(Printable(error.what()) + "; nothing more was done");
        return ExitStatus::Failed;
    }
}

} // namespace

int main(int argc, char* argv[]) {
    OccupyStandardDescriptors();
    // A write to a pipe without a reader, or past a limit on file sizes, is to fail, not to end the
    // program.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    RememberInterrupts();
    return static_cast<int>(Run(argc, argv));
}
