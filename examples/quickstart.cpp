#include <TALVOkrstream/CompoundFile.h>

#include <iostream>
#include <string>

// Writes one part of the project; the stream is complete when it has been destroyed.
bool Save(CompoundFile& project, const char* name, const std::string& text) {
    const auto stream = project.GetIOStream(name, "wb");
    return stream != nullptr && *stream << text << std::flush;
}

int main() {
    CompoundFile project;
    if (project.Open("project.kr", KrStreamE::ReadWrite) != KrStreamE::Ok) {
        std::cerr << "project.kr cannot be opened\n";
        return 1;
    }
    if (!Save(project, "settings", "language=en\n") || !Save(project, "notes", "Call back.\n") ||
        project.GetStatus() != KrStreamE::Ok) {
        std::cerr << "project.kr cannot be written\n";
        return 1;
    }

    unsigned long index = 0;
    for (const DirEntry* entry = project.GetFirstDirEntry(&index); entry != nullptr;
         entry = project.GetNextDirEntry(&index)) {
        std::cout << entry->name << ": " << entry->size << " bytes\n";
    }

    const auto notes = project.GetIOStream("notes", "rb");
    std::string line;
    if (notes == nullptr || !std::getline(*notes, line)) {
        std::cerr << "the notes cannot be read\n";
        return 1;
    }
    std::cout << line << '\n';
    return 0;
}
