#pragma once

#include "tests/support/SystemCalls.h"

#include <map>
#include <string>
#include <vector>

/// The files of a folder, by their paths.
using Disk = std::map<std::string, std::string>;
using Operations = std::vector<SystemCalls::Operation>;

/// What a killed program leaves of a write ends at the end of one of the file's pages.
constexpr std::size_t kPage = 4096;
/// What a power loss leaves of it ends anywhere between two sectors.
constexpr std::size_t kSector = 512;

Disk ReadDisk(const std::string& folder);
/// Makes the folder hold these files and no others.
void WriteDisk(const Disk& disk, const std::string& folder);

void Do(const SystemCalls::Operation& operation, Disk& disk);
/// What can be left of a write that was interrupted at a multiple of `unit` of its file.
Operations PartsOf(const SystemCalls::Operation& operation, std::size_t unit);
