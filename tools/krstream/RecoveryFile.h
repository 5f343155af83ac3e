#pragma once

#include "ExitStatus.h"
#include "Password.h"
#include "Report.h"

#include <TALVOkrstream/Recovery.h>

#include <string>

/// Opens a file, however damaged, and shows the progress of reading it. Throws Failure when it
/// cannot be opened, with the status `inUse` when another program writes to it.
void OpenForRecovery(Recovery::File& file, const std::string& path, Report& report,
                     ExitStatus inUse);

/// Gives a file its password; throws Failure when it is wrong.
void Unlock(Recovery::File& file, const std::string& path, const PasswordSource& source);
