#include "StandardOutput.h"

#include "Descriptor.h"
#include "ExitStatus.h"

#include <cerrno>
#include <cstddef>

#include <unistd.h>

namespace {

constexpr std::size_t kBufferSize = 64UL * 1024;

void WriteOut(std::string_view data) {
    const int error = WriteAll(STDOUT_FILENO, data);
    if (error == EPIPE) {
        throw Failure("");
    }
    if (error != 0) {
        throw Failure("standard output",
                      "cannot be written: " + ErrorText(error) + "; check where it leads");
    }
}

} // namespace

StandardOutput::StandardOutput() : isTerminal_(isatty(STDOUT_FILENO) != 0) {}

void StandardOutput::Write(std::string_view data) {
    if (buffer_.size() + data.size() > kBufferSize) {
        Flush();
    }
    if (data.size() > kBufferSize) {
        WriteOut(data);
    } else {
        buffer_ += data;
    }
}

void StandardOutput::Flush() {
    WriteOut(buffer_);
    buffer_.clear();
}

std::string StandardOutput::Shown(std::string_view name) const {
    return isTerminal_ ? Printable(name) : std::string(name);
}
