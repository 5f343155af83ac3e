#include <TALVOkrstream/CompoundFile.h>
#include <TALVOkrstream/Recovery.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

// Prints what is wrong with a file, which is not changed.
void Print(Recovery::File& file) {
    for (const Recovery::Finding& finding : file.Check()) {
        const bool isDamage = finding.severity == Recovery::Severity::Damage;
        std::cout << (isDamage ? "damage" : "notice") << " in block " << finding.block << ", entry "
                  << finding.entry << ": " << finding.text << '\n';
    }
}

// Saves what can be read of a damaged file to a new one.
bool Repair(Recovery::File& damaged, const char* path) {
    CompoundFile target;
    std::vector<Recovery::Saved> entries;
    if (target.Open(path, KrStreamE::ReadWrite) != KrStreamE::Ok ||
        damaged.Repair(target, entries) != Recovery::Status::Ok) {
        return false;
    }
    for (const Recovery::Saved& entry : entries) {
        std::cout << entry.savedAs << ": " << entry.bytes << " of " << entry.recordedBytes
                  << " bytes\n";
    }
    target.Flush();
    return target.GetStatus() == KrStreamE::Ok;
}

// A file with two entries, and another number on the second block of one of them.
void MakeDamaged(const char* path) {
    std::remove(path);
    CompoundFile file;
    file.Open(path, KrStreamE::ReadWrite);
    for (const char* name : {"long", "short"}) {
        const auto stream = file.GetIOStream(name, "wb");
        if (stream == nullptr) {
            return;
        }
        *stream << std::string(*name == 'l' ? 2500 : 10, '.');
    }
    file.Close();
    std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).seekp(2L * 1024) << "?";
}

int main() {
    MakeDamaged("damaged.kr");
    Recovery::File damaged;
    if (damaged.Open("damaged.kr") != Recovery::Status::Ok) {
        std::cerr << "damaged.kr is not a block file\n";
        return 1;
    }
    Print(damaged);
    return Repair(damaged, "saved.kr") ? 0 : 1;
}
