#include "Password.h"

#include "Descriptor.h"
#include "ExitStatus.h"

#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <termios.h>

namespace {

constexpr std::size_t kMaxLength = 1024;
constexpr const char* kOptionHint = "give one with --password-file";

/// Reads byte by byte, so that what follows the line stays for the next reader.
std::string ReadLine(int fd, const std::string& source) {
    std::string line;
    char c = 0;
    ssize_t count = 0;
    while ((count = ReadSome(fd, &c, 1)) == 1 && c != '\n') {
        if (c == '\0' || line.size() == kMaxLength) {
            throw Failure(source,
                          "its first line is no password: it has a NUL byte or over 1024 bytes; "
                          "check that it is the right file",
                          ExitStatus::Password);
        }
        line += c;
    }
    if (count < 0) {
        throw Failure(source, "cannot be read: " + ErrorText(errno) + "; " + kOptionHint,
                      ExitStatus::Password);
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

/// The controlling terminal, without echo for as long as this lives.
class QuietTerminal {
public:
    explicit QuietTerminal(const std::string& path)
        : fd_(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {
        if (!fd_ || tcgetattr(fd_.Get(), &before_) != 0) {
            throw Failure(path,
                          "needs a password, and there is no terminal to ask at; " +
                              std::string(kOptionHint),
                          ExitStatus::Password);
        }
        termios quiet = before_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(fd_.Get(), TCSAFLUSH, &quiet);
    }
    QuietTerminal(const QuietTerminal&) = delete;
    QuietTerminal& operator=(const QuietTerminal&) = delete;
    ~QuietTerminal() { tcsetattr(fd_.Get(), TCSAFLUSH, &before_); }

    std::string Ask(const std::string& prompt) {
        WriteAll(fd_.Get(), prompt);
        std::string line = ReadLine(fd_.Get(), "terminal");
        WriteAll(fd_.Get(), "\n");
        return line;
    }

private:
    UniqueFd fd_;
    termios before_{};
};

std::string NotEmpty(std::string password, const std::string& path) {
    if (password.empty()) {
        throw Failure(path, "the password is empty; give one of at least one byte",
                      ExitStatus::Password);
    }
    return password;
}

} // namespace

std::string PasswordSource::FirstLineOfFile() const {
    if (file_ == "-") {
        return ReadLine(STDIN_FILENO, "standard input");
    }
    const UniqueFd fd(open(file_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!fd) {
        throw Failure(file_,
                      "the password file cannot be opened: " + ErrorText(errno) +
                          "; check its name and permissions",
                      ExitStatus::Password);
    }
    return ReadLine(fd.Get(), file_);
}

std::string PasswordSource::Current(const std::string& path) const {
    if (!file_.empty()) {
        return NotEmpty(FirstLineOfFile(), path);
    }
    return NotEmpty(QuietTerminal(path).Ask("Password for " + Printable(path) + ": "), path);
}

std::string PasswordSource::New(const std::string& path) const {
    if (!file_.empty()) {
        return NotEmpty(FirstLineOfFile(), path);
    }
    QuietTerminal terminal(path);
    std::string password = terminal.Ask("New password for " + Printable(path) + ": ");
    if (terminal.Ask("The same password again: ") != password) {
        throw Failure(path, "the two passwords differ; nothing was changed, try again",
                      ExitStatus::Password);
    }
    return NotEmpty(std::move(password), path);
}
