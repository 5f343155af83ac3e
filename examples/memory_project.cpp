#include <TALVOkrstream/KrStreamSource.h>

#include <iostream>
#include <string>

// Writes one part of the project; the stream is complete when it has been destroyed.
bool Write(KrStreamSource& project, const char* name, const std::string& text) {
    const auto stream = project.GetOStream(name);
    return stream != nullptr && *stream << text << std::flush;
}

// Prints every part. It uses only what all sources have, and so works with each of them.
bool Print(KrStreamSource& project) {
    const auto names = project.GetFileNames();
    for (const std::string& name : *names) {
        if (name == CompoundFile::kFreeListEntryName) {
            continue; // the library's own
        }
        const auto stream = project.GetIStream(name.c_str());
        if (stream == nullptr) {
            return false;
        }
        for (std::string line; std::getline(*stream, line);) {
            std::cout << "  " << name << ": " << line << '\n';
        }
        if (stream->bad()) {
            return false;
        }
    }
    return true;
}

int main() {
    MemCompoundFileStreamSource project;
    project.Open();
    std::cout << "in memory:\n";
    if (!Write(project, "settings", "language=en\nunits=mm\n") ||
        !Write(project, "notes", "Call back.\n") || !Print(project)) {
        std::cerr << "the project cannot be written\n";
        return 1;
    }

    project.Close(); // completes the bytes that are saved
    if (!project.Save("project.kr")) {
        std::cerr << "project.kr cannot be saved\n";
        return 1;
    }

    // Save does not report a full disk: check.
    PureCompoundFileStreamSource saved;
    const bool opened = saved.Open("project.kr", true);
    std::cout << "in project.kr:\n";
    if (!opened || !Print(saved)) {
        std::cerr << "project.kr is not complete\n";
        return 1;
    }
    return 0;
}
