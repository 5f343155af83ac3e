#include <TALVOkrstream/CompoundFile.h>
#include <TALVOutl/Files.h>

#include <iostream>
#include <stdexcept>
#include <string>

// Opens a stream or throws; GetIOStream returns null on failure.
std::unique_ptr<std::iostream> OpenStream(CompoundFile& file, const char* name, const char* mode) {
    auto stream = file.GetIOStream(name, mode);
    if (stream == nullptr) {
        throw std::runtime_error(std::string(name) + " cannot be opened");
    }
    return stream;
}

// Whether the operating system has everything that was written. Destroy the streams first.
bool IsSaved(CompoundFile& file) {
    file.Flush();
    return file.GetStatus() == KrStreamE::Ok;
}

// Whether it is also on the disk, where a power loss leaves it alone.
bool IsOnDisk(CompoundFile& file) {
    return IsSaved(file) && KrSync(file.GetCompoundFileName());
}

// A stream is complete when it has been destroyed, here at the end of each function.
void Make(CompoundFile& file) {
    const auto log = OpenStream(file, "log", "wb"); // created, or emptied
    *log << "first\nsecond\n";
}

void Change(CompoundFile& file) {
    const auto log = OpenStream(file, "log", "r+b"); // as it is, at its beginning
    *log << "FIRST";                                 // in place: nothing else is rewritten
    log->seekp(0, std::ios_base::end);
    *log << "third\n"; // longer than it was
}

void Print(CompoundFile& file) {
    const auto log = OpenStream(file, "log", "rb");
    log->seekg(0, std::ios_base::end); // reads no block
    std::cout << log->tellg() << " bytes:\n";
    log->seekg(0);
    for (std::string line; std::getline(*log, line);) {
        std::cout << line << '\n';
    }
    if (log->bad()) { // an error; reaching the end is not one
        throw std::runtime_error("log cannot be read");
    }
}

int main() {
    try {
        CompoundFile file;
        file.Open("streams.kr", KrStreamE::ReadWrite); // if this fails, no stream can be opened
        Make(file);
        Change(file);
        if (!IsOnDisk(file)) {
            throw std::runtime_error("streams.kr cannot be written");
        }
        Print(file);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
