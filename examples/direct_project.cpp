#include <TALVOkrstream/KrStreamSource.h>

#include <iostream>
#include <memory>
#include <string>

// Fills a stream. It is complete when it has been destroyed, that is, on return.
bool Fill(std::unique_ptr<std::ostream> stream, const std::string& text) {
    return stream != nullptr && *stream << text << std::flush;
}

// Adds to the end of a stream; what it holds already is not rewritten.
bool Append(KrStreamSource& project, const char* name, const std::string& text) {
    const auto stream = project.GetIOStream(name);
    return stream == nullptr
               ? Fill(project.GetOStream(name), text)
               : stream->seekp(0, std::ios_base::end) && *stream << text << std::flush;
}

// Prints a stream; a missing one is no error.
bool Print(KrStreamSource& project, const char* name) {
    const auto stream = project.GetIStream(name);
    std::cout << name << (stream == nullptr ? ": none\n" : ":\n");
    for (std::string line; stream != nullptr && std::getline(*stream, line);) {
        std::cout << "  " << line << '\n';
    }
    return stream == nullptr || !stream->bad();
}

bool Edit(KrStreamSource& project) {
    const bool isNew = !project.StreamExists("notes");
    if (!Fill(project.GetOStream("notes"), isNew ? "Call back.\n" : "Send it.\n") ||
        !Append(project, "history", isNew ? "notes added\n" : "notes rewritten\n")) {
        return false;
    }
    // Temporary streams lie in the file too, until they are deleted.
    const bool filled = Fill(project.GetTempOStream("draft"), "Dear ...\n");
    const bool printed = filled && Print(project, "draft");
    project.DeleteSource("draft");
    return printed && !project.StreamExists("draft");
}

// Whether all that was written is in the file. A source does not report it; a handle does.
bool IsWritten(const KrStreamSource& project) {
    CompoundFile file;
    return file.Open(project.GetFilePath().c_str(), KrStreamE::ReadWrite) == KrStreamE::Ok;
}

int main() {
    PureCompoundFileStreamSource project;
    if (!project.Open("project.kr", false) || !Print(project, "history")) { // made when missing
        std::cerr << "project.kr cannot be opened\n";
        return 1;
    }
    if (!Edit(project) || !IsWritten(project)) {
        std::cerr << "project.kr cannot be written\n";
        return 1;
    }
    project.Close();

    std::cout << "read only:\n";
    if (!project.Open("project.kr", true) || !Print(project, "notes")) {
        std::cerr << "project.kr cannot be read\n";
        return 1;
    }
    project.DeleteSource("notes");
    std::cout << "notes can be written: " << (project.GetOStream("notes") ? "yes" : "no") << '\n'
              << "notes can be deleted: " << (project.StreamExists("notes") ? "no" : "yes") << '\n';
    return 0;
}
