#include <TALVOkrstream/CompoundFileStreamSource.h>

#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

using Source = CompoundFileStreamSource;

void Check(bool done, const std::string& complaint) {
    if (!done) {
        throw std::runtime_error(complaint);
    }
}

void Check(Source::Error error) {
    Check(error == Source::NoError, Source::ToString(error));
}

// Opens the project. True when the workspace of a run that ended without Close is taken up.
bool Open(Source& project) {
    const Source::Error error = project.Open(Source::ExistingWorkspace, false);
    if (error != Source::TempDirDoesNotExist) {
        Check(error);
        if (!Source::PreviousDeleteOfTempDirUnsuccessfull(project.GetDirectoryName())) {
            project.SetIsDirty(true, nullptr); // what that run had saved is not known
            return true;
        }
        // That run was done with its workspace; these are remains that it could not remove.
        Check(project.DeleteDirectory(), "the old workspace cannot be removed");
    }
    Check(project.Open(Source::NewWorkspace, false));
    return false;
}

void Write(Source& project, const char* name, const std::string& text) {
    const auto stream = project.GetOStream(name);
    Check(stream != nullptr && *stream << text << std::flush, "a stream cannot be written");
}

void Print(KrStreamSource& project, const char* name) {
    const auto stream = project.GetIStream(name);
    std::string line;
    Check(stream != nullptr && std::getline(*stream, line), "a stream cannot be read");
    std::cout << name << ": " << line << '\n';
}

// What the compound file holds, whatever is in the workspace.
void PrintSaved(const char* name) {
    PureCompoundFileStreamSource saved;
    Check(saved.Open("project.kr", true), "cannot be read");
    std::cout << "saved ";
    Print(saved, name);
}

// A new project that has something to edit.
void Make(Source& project) {
    Write(project, "settings", "units=mm\n");
    Write(project, "notes", "Call back.\n");
    Write(project, "preview", std::string(100'000, '.'));
    Check(project.Close(Source::SaveChanges, false));
}

void Edit(Source& project) {
    Print(project, "settings"); // copies it into the workspace, where it is a file like any other
    std::fstream file(project.GetDirectoryName() + std::string("settings"));
    file << "units=in\n";
    file.close();
    Check(file.good(), "the settings cannot be written");
    project.SetIsDirty(true, "settings");

    Write(project, "notes", "Send it.\n");
    project.DeleteSource("preview");
    Check(project.CopyToBlockFile(false));
    PrintSaved("settings");
}

void Compact(Source& project) {
    std::cout << "unused: " << project.GetUnUsedFileSpace() << " bytes\n";
    project.CompactCompoundFile();
    std::cout << "after compaction: " << project.GetUnUsedFileSpace() << " bytes\n";
}

// The first run ends like one that crashes, and the second takes up what it left behind.
int main() {
    try {
        // The folder in which workspaces are made should be closed to other users.
        Source project("project.kr", Source::GetTempFolderName(".", "project.kr").c_str());
        if (Open(project)) {
            std::cout << "taken up ";
            Print(project, "notes");
            Check(project.Close(Source::SaveChanges, false));
            PrintSaved("notes");
            return 0;
        }
        Make(project);
        Check(project.Open(Source::NewWorkspace, false));
        Edit(project);
        Compact(project);
        Check(project.Close(Source::SaveChanges, false));

        Check(project.Open(Source::NewWorkspace, false));
        Write(project, "notes", "Written just before the end.\n");
        return 0; // without Close
    } catch (const std::exception& error) {
        std::cerr << "project.kr: " << error.what() << '\n';
        return 1;
    }
}
