#pragma once

#include "benchmarks/Store.h"

#include <vector>

Contender KrstreamContender();
Contender FolderContender();
Contender Hdf5Contender();
Contender Ole2Contender();
Contender SqliteContender();
Contender SqliteUnsafeContender();
Contender ZipContender();

/// This library first, then the peers that were found when the program was built.
std::vector<Contender> AllContenders();
const Contender& FindContender(const std::vector<Contender>& contenders, const std::string& name);
