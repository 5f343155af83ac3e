#include "CommandLine.h"

#include "Commands.h"
#include "StandardOutput.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <vector>

namespace {

/// Stands before an argument that the parser would not take as it is; Text options remove it again.
constexpr char kGuard = '\x01';

/// The arguments in the parser's order, last one first. The parser would split one in brackets into
/// a list, end a command at "++", and know "--" only where a value has to follow.
std::vector<std::string> GuardedArguments(int argc, const char* const* argv) {
    std::vector<std::string> arguments;
    bool onlyValues = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (!onlyValues && argument == "--") {
            onlyValues = true;
        } else if (onlyValues || argument.find_first_of("[{+\x01") == 0) {
            arguments.push_back(kGuard + argument);
        } else {
            arguments.push_back(argument);
        }
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

/// An option or positional whose values are any bytes.
template <class Target>
CLI::Option* Text(CLI::App& command, const std::string& names, Target& target,
                  const std::string& help) {
    const auto unguard = [](std::string& value) {
        if (!value.empty() && value.front() == kGuard) {
            value.erase(0, 1);
        }
        return std::string();
    };
    return command.add_option(names, target, help)
        ->transform(CLI::Validator(unguard, ""))
        ->type_name("");
}

class CommandLine {
public:
    CommandLine();

    ExitStatus Run(int argc, const char* const* argv);

private:
    using Command = ExitStatus (*)(const Options&);

    CLI::App& AddCommand(const std::string& name, const std::vector<std::string>& aliases,
                         const std::string& help, Command command);
    void AddPacking();
    void AddReading();
    void AddChanging();
    void AddRecovery();

    void AddPaths(CLI::App& command);
    void AddNames(CLI::App& command, bool required);
    void AddPasswordFile(CLI::App& command);
    void AddAll(CLI::App& command);
    void CheckStandardInput() const;

    CLI::App app_{"Files that hold many named byte streams.", "krstream"};
    Options options_;
    Command command_ = nullptr;
};

CommandLine::CommandLine() {
    app_.require_subcommand(0, 1);
    app_.footer("Exit status: 0 done, 1 done in part, 2 failed, 4 password missing or wrong,\n"
                "5 in use by another program, 64 wrong usage.");
    app_.set_version_flag("--version", "krstream " KRSTREAM_VERSION);
    AddPacking();
    AddReading();
    AddChanging();
    AddRecovery();
}

CLI::App& CommandLine::AddCommand(const std::string& name, const std::vector<std::string>& aliases,
                                  const std::string& help, Command command) {
    CLI::App& added = *app_.add_subcommand(name, help);
    for (const std::string& alias : aliases) {
        added.alias(alias);
    }
    Text(added, "FILE", options_.file, "The compound file")->required();
    added.callback([this, command] { command_ = command; });
    return added;
}

void CommandLine::AddPacking() {
    CLI::App& create = AddCommand("create", {"c"}, "Make FILE from files and folders", Create);
    AddPaths(create);
    create.add_flag("-f,--force", options_.force, "Replace FILE if it is there");

    CLI::App& add = AddCommand("add", {"a"}, "Add or replace entries", Add);
    AddPaths(add);
    Text(add, "--name", options_.standardInputName, "Entry name of standard input, PATH '-'")
        ->type_name("NAME");
    AddPasswordFile(add);
}

void CommandLine::AddReading() {
    CLI::App& list = AddCommand("list", {"ls", "l"}, "List entries by name", List);
    list.add_flag("-l,--long", options_.isLong, "Also size, time of change and blocks");
    list.add_flag("-0,--null", options_.nullEnds, "End names with a NUL, not a newline");
    list.add_flag("--json", options_.json, "As JSON");
    AddAll(list);

    CLI::App& extract = AddCommand("extract", {"x"}, "Write entries to files", Extract);
    AddNames(extract, false);
    Text(extract, "-C,--directory", options_.folder, "Folder to write to, made if missing")
        ->type_name("DIR");
    extract.add_flag("-f,--force", options_.force, "Replace files that are there");
    AddAll(extract);
    AddPasswordFile(extract);

    CLI::App& cat = AddCommand("cat", {}, "Write entries to standard output", Cat);
    AddNames(cat, true);
    AddPasswordFile(cat);

    CLI::App& info = AddCommand("info", {}, "Show what FILE is made of", Info);
    info.add_flag("--json", options_.json, "As JSON");
}

void CommandLine::AddChanging() {
    CLI::App& remove = AddCommand("rm", {"d"}, "Delete entries", Remove);
    AddNames(remove, true);
    AddPasswordFile(remove);

    AddPasswordFile(AddCommand("compact", {}, "Rewrite FILE without its unused blocks", Compact));
    AddPasswordFile(AddCommand("encrypt", {}, "Set a password", Encrypt));
    AddPasswordFile(AddCommand("decrypt", {}, "Remove the password", Decrypt));

    CLI::App& passwd = AddCommand("passwd", {}, "Change the password", ChangePassword);
    AddPasswordFile(passwd);
    Text(passwd, "--new-password-file", options_.newPasswordFile,
         "File whose first line is the new password, '-' for standard input")
        ->type_name("FILE");
}

void CommandLine::AddRecovery() {
    CLI::App& check = AddCommand("check", {}, "Look for damage in FILE", Check);
    check.add_flag("--json", options_.json, "As JSON");
    AddPasswordFile(check);

    CLI::App& map = AddCommand("map", {}, "Draw what the blocks of FILE are used for", Map);
    Text(map, "-o,--output", options_.target, "Make an SVG picture of this name")
        ->type_name("PICTURE");
    map.add_flag("-f,--force", options_.force, "Replace PICTURE if it is there");

    CLI::App& repair = AddCommand("repair", {}, "Save what is left of FILE in a new file", Repair);
    Text(repair, "OUT", options_.target, "The new file")->required();
    repair.add_flag("-f,--force", options_.force, "Replace OUT if it is there");
    AddPasswordFile(repair);
}

void CommandLine::AddPaths(CLI::App& command) {
    Text(command, "PATH", options_.paths, "Files and folders to store")->required();
    Text(command, "-C,--directory", options_.folder, "Folder that the PATHs are relative to")
        ->type_name("DIR");
}

void CommandLine::AddNames(CLI::App& command, bool required) {
    Text(command, "NAME", options_.names, "Entries")->required(required);
}

void CommandLine::AddPasswordFile(CLI::App& command) {
    Text(command, "--password-file", options_.passwordFile,
         "File whose first line is the password, '-' for standard input")
        ->type_name("FILE");
}

void CommandLine::AddAll(CLI::App& command) {
    command.add_flag("--all", options_.all, "Also the library's record of free blocks");
}

void CommandLine::CheckStandardInput() const {
    if (command_ != Add) {
        return;
    }
    const auto count = std::count(options_.paths.begin(), options_.paths.end(), "-");
    if (count > 1 || (count == 1) == options_.standardInputName.empty()) {
        throw CLI::ValidationError("--name", "goes with one PATH '-', standard input");
    }
    if (count == 1 && options_.passwordFile == "-") {
        throw CLI::ValidationError("--password-file", "standard input is taken by PATH '-'");
    }
}

ExitStatus CommandLine::Run(int argc, const char* const* argv) {
    try {
        app_.parse(GuardedArguments(argc, argv));
        CheckStandardInput();
    } catch (const CLI::Success& help) {
        StandardOutput out;
        out.Write(dynamic_cast<const CLI::CallForHelp*>(&help) != nullptr
                      ? app_.help()
                      : help.what() + std::string("\n"));
        out.Flush();
        return ExitStatus::Done;
    } catch (const CLI::ParseError& error) {
        throw Failure(Printable(error.what()) + "; see 'krstream --help'", ExitStatus::Usage);
    }
    if (command_ == nullptr) {
        throw Failure("no command is given; see 'krstream --help'", ExitStatus::Usage);
    }
    return command_(options_);
}

} // namespace

ExitStatus RunCommandLine(int argc, const char* const* argv) {
    return CommandLine().Run(argc, argv);
}
