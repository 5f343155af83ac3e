#pragma once

#include "ExitStatus.h"

/// Reads the command line and runs the command that it names. Throws Failure, also for wrong usage.
ExitStatus RunCommandLine(int argc, const char* const* argv);
