#include "CommandTexts.h"

#include <algorithm>

namespace {

constexpr const char* kChangingGroup = "Make and change files";
constexpr const char* kReadingGroup = "Look into files and take out";
constexpr const char* kPasswordGroup = "Passwords";
constexpr const char* kDamageGroup = "Damage";

std::vector<CommandText> ChangingTexts() {
    return {
        {"create",
         {"c"},
         kChangingGroup,
         "Make FILE from files and folders",
         "Folders are stored with all that is in them. An entry's name is the path\n"
         "as given. A FILE that is there is replaced only with --force, when the new\n"
         "one is whole.",
         {{"Pack a folder and a file", "krstream create new.kr drawings notes.txt"},
          {"Pack what is in a folder, without its name", "krstream create all.kr -C drawings ."}}},
        {"add",
         {"a"},
         kChangingGroup,
         "Add or replace entries",
         "FILE is changed in place; entries of the same name, whatever the case of A\n"
         "to Z, are replaced. PATH '-' is standard input.",
         {{"Add a file, or replace what was stored of it", "krstream add project.kr notes.txt"},
          {"Store what another program prints",
           "date | krstream add project.kr - --name saved-at"}}},
        {"rm",
         {"d"},
         kChangingGroup,
         "Delete entries",
         "Their blocks are free for other entries then; 'krstream compact' makes the\n"
         "file smaller.",
         {{"Delete two entries", "krstream rm project.kr notes.txt drawings/plan.txt"}}},
        {"compact",
         {},
         kChangingGroup,
         "Rewrite FILE without its unused blocks",
         "The new file takes FILE's place when it is whole. Prints the size before\n"
         "and after.",
         {{"Give back free blocks and put each entry in one piece",
           "krstream compact project.kr"}}},
    };
}

std::vector<CommandText> ReadingTexts() {
    return {
        {"list",
         {"ls", "l"},
         kReadingGroup,
         "List entries by name",
         "One name a line. With --long, marks show what is special: e enciphered, r\n"
         "the library's record of free blocks, ! larger than the file can hold. No\n"
         "password is needed.",
         {{"Sizes, times and blocks as well", "krstream list -l project.kr"},
          {"Names for another program, whatever bytes they have",
           "krstream list -0 project.kr | xargs -0 -n 1 echo"},
          {"Everything for a program", "krstream list --json project.kr"}}},
        {"cat",
         {},
         kReadingGroup,
         "Write entries to standard output",
         "One after the other, in the order of the NAMEs.",
         {{"Read an entry", "krstream cat project.kr notes.txt"},
          {"Search an enciphered one",
           "krstream cat secret.kr notes.txt --password-file password.txt | grep call"}}},
        {"extract",
         {"x"},
         kReadingGroup,
         "Write entries to files",
         "All, or the NAMEd ones, to the current folder or to DIR. Nothing is\n"
         "written outside it, and files that are there are replaced only with\n"
         "--force.",
         {{"All of them to a folder", "krstream extract project.kr -C restored"},
          {"One, in the place of the file that is there",
           "krstream extract project.kr notes.txt --force"}}},
        {"info",
         {},
         kReadingGroup,
         "Show what FILE is made of",
         "Version, encryption, entries, blocks in use and free. No password is\n"
         "needed.",
         {{"For people", "krstream info project.kr"},
          {"For programs", "krstream info --json project.kr"}}},
        {"map",
         {},
         kReadingGroup,
         "Draw what the blocks of FILE are used for",
         "In the terminal, or as an SVG picture: which entries lie in how many\n"
         "pieces, and what is free or damaged. No password is needed.",
         {{"A small drawing", "krstream map project.kr"},
          {"A picture for a browser or a page", "krstream map project.kr -o project.svg"}}},
    };
}

std::vector<CommandText> ProtectingTexts() {
    return {
        {"encrypt",
         {},
         kPasswordGroup,
         "Set a password",
         "Entries are enciphered; names, times and sizes stay readable. The password\n"
         "is asked for at the terminal, or is the first line of a file.",
         {{"Take the password from a file",
           "krstream encrypt project.kr --password-file password.txt"}}},
        {"decrypt",
         {},
         kPasswordGroup,
         "Remove the password",
         "FILE is rewritten in plain, and takes its own place when it is whole.",
         {{"Take the password from a file",
           "krstream decrypt secret.kr --password-file password.txt"}}},
        {"passwd",
         {},
         kPasswordGroup,
         "Change the password",
         "FILE is rewritten under the new one. Both passwords are asked for unless\n"
         "files are given.",
         {{"Take both from files", "krstream passwd secret.kr --password-file password.txt "
                                   "--new-password-file new-password.txt"}}},
        {"check",
         {},
         kDamageGroup,
         "Look for damage in FILE",
         "A line for each finding: 'damage' where bytes are lost or in danger,\n"
         "'notice' where space is wasted at most. No line and status 0 for a sound\n"
         "file, status 1 for any finding.",
         {{"Check before a copy is put away",
           "krstream check project.kr && cp project.kr backup.kr"},
          {"For programs", "krstream check --json project.kr"}}},
        {"repair",
         {},
         kDamageGroup,
         "Save what is left of FILE in a new file",
         "FILE stays as it is. A line for each entry tells whether all of it was\n"
         "saved.",
         {{"Save what can be read", "krstream repair damaged.kr rescued.kr"},
          {"The same, in the place of an earlier try, told to a program",
           "krstream repair --json --force damaged.kr rescued.kr"}}},
    };
}

std::vector<CommandText> AllTexts() {
    std::vector<CommandText> all;
    for (const auto& part : {ChangingTexts(), ReadingTexts(), ProtectingTexts()}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

} // namespace

std::string CommandText::Names(const std::string& between) const {
    std::string names = name;
    for (const char* const alias : aliases) {
        names += between + alias;
    }
    return names;
}

const std::vector<CommandText>& CommandTexts() {
    static const std::vector<CommandText> kTexts = AllTexts();
    return kTexts;
}

const CommandText& TextOf(const std::string& command) {
    const auto& all = CommandTexts();
    return *std::find_if(all.begin(), all.end(),
                         [&](const CommandText& text) { return text.name == command; });
}

const std::vector<ExitStatusText>& ExitStatusTexts() {
    static const std::vector<ExitStatusText> kTexts = {
        {0, "done"},
        {1, "done in part: a name was not found, something was skipped or failed, or\n"
            "check found something"},
        {2, "failed"},
        {4, "the password is missing or wrong"},
        {5, "FILE is in use by another program"},
        {64, "wrong usage"},
    };
    return kTexts;
}
