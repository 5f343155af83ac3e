#include <TALVOkrstream/KStreamBase.h>
#include <TALVOkrstream/KrStreamSource.h>
#include <TALVOkrstream/StreamDirectory.h>

#include <iostream>
#include <string>

// A drawing keeps its parts in one stream: a header with a version, a directory, sub-streams.
constexpr const char* kMagic = "DRAW";
constexpr unsigned short kVersion = 2;

// Numbers that are stored in the file; new ones are added at the end, so that they ascend.
enum Part : unsigned short { Title = 1, Lines = 2, Preview = 3 };

bool Write(std::ostream& stream) {
    KStreamLight::WriteMagicStringAndVersionNumber(stream, kVersion, kMagic);
    OutputStreamDirectory parts(stream, 8); // room for parts of later versions
    parts.GetOutput(Title) << "House\n";
    parts.GetOutput(Lines) << "0 0 4 0\n4 0 4 3\n";
    parts.GetOutput(Preview) << std::string(2000, '#') << '\n';
    parts.Close();
    return stream.good();
}

// Prints a part's first line; parts can be asked for in any order.
bool Print(InputStreamDirectory& parts, Part part) {
    std::istream* const stream = parts.GetInput(part);
    std::string line;
    if (stream == nullptr || !std::getline(*stream, line)) {
        return false;
    }
    std::cout << "ID " << part << ": " << line.substr(0, 10) << '\n';
    return true;
}

bool Read(std::istream& stream) {
    unsigned short version = 0;
    if (!KStreamLight::CheckMagicStringAndVersionNumber(stream, version, kMagic) ||
        version > kVersion) {
        return false;
    }
    InputStreamDirectory parts(stream);
    return Print(parts, Preview) && Print(parts, Title) && Print(parts, Lines);
}

int main() {
    PureCompoundFileStreamSource project;
    if (!project.Open("project.kr", false)) {
        std::cerr << "project.kr cannot be opened\n";
        return 1;
    }
    if (const auto stream = project.GetOStream("drawing"); stream == nullptr || !Write(*stream)) {
        std::cerr << "the drawing cannot be written\n";
        return 1;
    }
    if (const auto stream = project.GetIStream("drawing"); stream == nullptr || !Read(*stream)) {
        std::cerr << "the drawing cannot be read\n";
        return 1;
    }
    return 0;
}
