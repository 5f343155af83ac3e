// A program of one's own: CMakeLists.txt beside it finds the installed library.
#include <TALVOkrstream/CompoundFile.h>
#include <TALVOkrstream/KrStreamSource.h>
#include <TALVOkrstream/Recovery.h>
#include <TALVOutl/Exception.h>

#include <cstddef>
#include <iostream>
#include <string>

constexpr const char* kPath = "project.kr";

[[noreturn]] void Fail(const char* text) {
    throw Exception(ExceptionMessage::translate(text) % kPath);
}

void WriteThroughHandle(const std::string& text) {
    CompoundFile file;
    if (file.Open(kPath, KrStreamE::ReadWrite) != KrStreamE::Ok) {
        Fail("{1} cannot be opened for writing.");
    }
    auto stream = file.GetIOStream("notes", "wb");
    if (stream == nullptr || !(*stream << text)) {
        Fail("{1} cannot be written.");
    }
    stream.reset(); // completes it
    file.Flush();
    if (file.GetStatus() != KrStreamE::Ok) {
        Fail("{1} cannot be written.");
    }
}

std::string ReadThroughSource() {
    PureCompoundFileStreamSource source;
    if (!source.Open(kPath, true)) {
        Fail("{1} cannot be opened for reading.");
    }
    const auto stream = source.GetIStream("notes");
    std::string line;
    if (stream == nullptr || !std::getline(*stream, line)) {
        Fail("{1} cannot be read.");
    }
    return line;
}

std::size_t CountFindings() {
    Recovery::File file;
    if (file.Open(kPath) != Recovery::Status::Ok) {
        Fail("{1} cannot be checked.");
    }
    return file.Check().size();
}

int main() {
    try {
        WriteThroughHandle("Call back.\n");
        std::cout << ReadThroughSource() << '\n' << CountFindings() << " findings\n";
        return 0;
    } catch (const Exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
