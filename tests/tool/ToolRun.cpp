#include "ToolRun.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// `command` begins with the program.
std::vector<char*> ArgumentVector(const std::vector<std::string>& command) {
    std::vector<char*> vector;
    vector.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        vector.push_back(const_cast<char*>(argument.c_str()));
    }
    vector.push_back(nullptr);
    return vector;
}

std::vector<std::string> ToolCommand(const std::vector<std::string>& arguments) {
    std::vector<std::string> command{KRSTREAM_TOOL};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

/// Makes a child process another program.
[[noreturn]] void Become(const std::string& folder, const std::vector<char*>& arguments) {
    if (chdir(folder.c_str()) == 0) {
        execv(arguments.front(), arguments.data());
    }
    _exit(127);
}

/// Leads the session of a terminal at which `tool` is started, and ends as that did, but not before
/// the test has closed the terminal: with its leader goes what nobody has read yet.
template <typename Tool>
[[noreturn]] void Lead(const std::array<int, 2>& input, Tool tool) {
    sigset_t hangUp;
    sigemptyset(&hangUp);
    sigaddset(&hangUp, SIGHUP);
    sigprocmask(SIG_BLOCK, &hangUp, nullptr);
    // One to the group is for the tool.
    signal(SIGTERM, SIG_IGN);
    const pid_t process = fork();
    if (process == 0) {
        signal(SIGTERM, SIG_DFL);
        sigprocmask(SIG_UNBLOCK, &hangUp, nullptr);
        tool();
    }
    for (const int fd : {input[0], input[1], STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        close(fd);
    }
    int status = 0;
    int caught = 0;
    waitpid(process, &status, 0);
    sigwait(&hangUp, &caught);
    if (WIFSIGNALED(status)) {
        signal(WTERMSIG(status), SIG_DFL);
        raise(WTERMSIG(status));
    }
    _exit(WEXITSTATUS(status));
}

} // namespace

ToolResult ToolTest::Run(const std::vector<std::string>& arguments, const std::string& input,
                         const std::string& outputPath) const {
    return RunProgram(ToolCommand(arguments), input, outputPath);
}

ToolResult ToolTest::Shell(const std::string& line) const {
    const std::string folder = fs::path(KRSTREAM_TOOL).parent_path().native();
    return RunProgram({"/bin/bash", "-c", "set -o pipefail; PATH='" + folder + "':$PATH; " + line},
                      "", "");
}

ToolResult ToolTest::RunProgram(const std::vector<std::string>& command, const std::string& input,
                                const std::string& outputPath) const {
    const std::string in = streams_ / "in";
    const std::string out = outputPath.empty() ? streams_ / "out" : outputPath;
    const std::string err = streams_ / "err";
    ::WriteFile(in, input);

    const std::vector<char*> vector = ArgumentVector(command);
    // Or the child would print what is still buffered, once more.
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0) {
        if (setsid() == -1 || freopen(in.c_str(), "r", stdin) == nullptr ||
            freopen(out.c_str(), "w", stdout) == nullptr ||
            freopen(err.c_str(), "w", stderr) == nullptr) {
            _exit(127);
        }
        Become(Path("."), vector);
    }
    int status = 0;
    waitpid(process, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, outputPath.empty() ? ::ReadFile(out) : "",
            ::ReadFile(err)};
}

ToolTest::TerminalRun ToolTest::Start(const std::vector<std::string>& arguments) const {
    std::array<int, 2> input{-1, -1};
    if (pipe2(input.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const std::vector<std::string> command = ToolCommand(arguments);
    const std::vector<char*> vector = ArgumentVector(command);
    TerminalRun run{-1, -1, input[1]};
    run.process = forkpty(&run.terminal, nullptr, nullptr, nullptr);
    if (run.process == 0) {
        Lead(input, [&] {
            dup2(input[0], STDIN_FILENO);
            Become(Path("."), vector);
        });
    }
    close(input[0]);
    return run;
}

std::string ToolTest::Finish(const TerminalRun& run, int& waitStatus) {
    close(run.input);
    std::string shown;
    char buffer[1024];
    ssize_t count = 0;
    // Once the tool has ended, reading its terminal is an error.
    while ((count = read(run.terminal, buffer, sizeof buffer)) > 0) {
        shown.append(buffer, static_cast<std::size_t>(count));
    }
    close(run.terminal);
    waitpid(run.process, &waitStatus, 0);
    return shown;
}

void ToolTest::WriteFile(const std::string& name, const std::string& content) const {
    fs::create_directories(fs::path(Path(name)).parent_path());
    ::WriteFile(Path(name), content);
}

bool ToolTest::Exists(const std::string& name) const {
    return fs::symlink_status(Path(name)).type() != fs::file_type::not_found;
}

std::map<std::string, std::string> ToolTest::Snapshot(const std::string& name) const {
    std::map<std::string, std::string> files;
    const fs::path root = Path(name);
    for (const auto& found : fs::recursive_directory_iterator(root)) {
        const std::string relative = found.path().lexically_relative(root).native();
        const fs::file_type type = found.symlink_status().type();
        if (type == fs::file_type::symlink) {
            files[relative] = "-> " + fs::read_symlink(found.path()).native();
        } else if (type == fs::file_type::regular) {
            files[relative] = Summary(::ReadFile(found.path().native()));
        }
    }
    return files;
}

std::string Summary(const std::string& content) {
    constexpr std::size_t kShort = 100;
    return content.size() <= kShort ? content
                                    : std::to_string(content.size()) + " bytes, digest " +
                                          std::to_string(std::hash<std::string>()(content));
}
