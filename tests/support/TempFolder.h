#pragma once

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <fstream>
#include <iterator>
#include <string>

/// A fresh folder for one test, removed with everything in it at the end.
class TempFolder {
public:
    TempFolder()
        : path_(boost::filesystem::temp_directory_path() /
                boost::filesystem::unique_path("krstream-test-%%%%-%%%%-%%%%-%%%%")) {
        boost::filesystem::create_directory(path_);
    }
    ~TempFolder() {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string operator/(const std::string& name) const { return (path_ / name).string(); }

private:
    const boost::filesystem::path path_;
};

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
