#include <TALVOkrstream/CompoundFile.h>

#include <iostream>
#include <string>

// A new file that never has a byte of an entry in plain: the password comes before the first one.
bool Make(const char* path, const char* password) {
    CompoundFile file;
    if (file.Open(path, KrStreamE::ReadWrite) != KrStreamE::Ok ||
        file.Encrypt(password) != KrStreamE::Ok) {
        return false;
    }
    if (const auto diary = file.GetIOStream("diary", "wb"); diary != nullptr) {
        *diary << "Nobody knows.\n";
    }
    file.Flush();
    return file.GetStatus() == KrStreamE::Ok && file.Exists("diary");
}

// The line behind a password; names and sizes need none.
std::string Read(const char* path, const char* password) {
    CompoundFile file;
    file.Open(path, KrStreamE::ReadOnly);
    if (file.NeedsPassword() && !file.SetPassword(password)) {
        return "wrong password";
    }
    const auto diary = file.GetIOStream("diary", "rb");
    std::string line;
    return diary != nullptr && std::getline(*diary, line) ? line : "cannot be read";
}

int main() {
    if (!Make("secret.kr", "open sesame")) {
        std::cerr << "secret.kr cannot be written\n";
        return 1;
    }
    std::cout << Read("secret.kr", "sesame") << '\n' << Read("secret.kr", "open sesame") << '\n';
    return 0;
}
