#include "tests/crash/Disk.h"

#include "tests/support/TempFolder.h"

#include <algorithm>

namespace fs = boost::filesystem;

Disk ReadDisk(const std::string& folder) {
    Disk disk;
    for (const fs::directory_entry& item : fs::recursive_directory_iterator(folder)) {
        if (fs::is_regular_file(item.symlink_status())) {
            disk[item.path().string()] = ReadFile(item.path().string());
        }
    }
    return disk;
}

void WriteDisk(const Disk& disk, const std::string& folder) {
    for (const fs::directory_entry& item : fs::directory_iterator(folder)) {
        // Also what is to be there again: some file systems wait for the disk when a file is
        // emptied.
        fs::remove_all(item.path());
    }
    for (const auto& [path, bytes] : disk) {
        fs::create_directories(fs::path(path).parent_path());
        WriteFile(path, bytes);
    }
}

void Do(const SystemCalls::Operation& operation, Disk& disk) {
    using Kind = SystemCalls::Operation::Kind;
    const auto file = disk.find(operation.path);
    if (operation.kind == Kind::Write) {
        std::string& bytes = disk[operation.path];
        bytes.resize(std::max<std::size_t>(bytes.size(), operation.offset));
        bytes.replace(operation.offset, operation.bytes.size(), operation.bytes);
    } else if (operation.kind == Kind::Truncate) {
        disk[operation.path].resize(operation.offset);
    } else if (operation.kind == Kind::Remove) {
        disk.erase(operation.path);
    } else if (operation.kind == Kind::Rename && file != disk.end()) {
        disk[operation.bytes] = file->second;
        disk.erase(operation.path);
    }
}

Operations PartsOf(const SystemCalls::Operation& operation, std::size_t unit) {
    Operations parts;
    if (operation.kind == SystemCalls::Operation::Kind::Write) {
        const std::uint64_t end = operation.offset + operation.bytes.size();
        for (std::uint64_t at = (operation.offset / unit + 1) * unit; at < end; at += unit) {
            parts.push_back(operation);
            parts.back().bytes.resize(static_cast<std::size_t>(at - operation.offset));
        }
    }
    return parts;
}
