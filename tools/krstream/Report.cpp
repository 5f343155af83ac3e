#include "Report.h"

#include "Interrupt.h"

#include <cstdio>

void PrintMessage(const std::string& line) {
    std::fputs(("krstream: " + line + "\n").c_str(), stderr);
}

void Report::Note(std::string_view subject, std::string_view what) {
    progress_.Clear();
    PrintMessage(Printable(subject) + ": " + std::string(what));
}

void Report::Skip(std::string_view subject, std::string_view what) {
    anySkipped_ = true;
    Note(subject, what);
}

void Report::Fail(std::string_view subject, std::string_view what) {
    anyFailed_ = true;
    Note(subject, what);
}

void Report::Advance(std::uint64_t bytes) {
    StopIfInterrupted();
    progress_.Advance(bytes);
}

ExitStatus Report::Status() const {
    if (anyFailed_ && !anyDone_) {
        return ExitStatus::Failed;
    }
    return anyFailed_ || anySkipped_ ? ExitStatus::DonePartly : ExitStatus::Done;
}
