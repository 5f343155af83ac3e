#pragma once

#include "tests/support/Entries.h"
#include "tests/support/Findings.h"
#include "tests/support/TempFolder.h"

#include <TALVOkrstream/Recovery.h>

#include <gtest/gtest.h>

#include <vector>

/// What a repair came to.
struct Repaired {
    std::vector<Recovery::Saved> saved;
    /// The bytes of the new file, and the entries in it.
    std::string bytes;
    Model entries;
};

/// Repairs the file at `path`, which has to stay as it is. The new file has to be sound.
inline Repaired Repair(const std::string& path, const char* password) {
    Repaired result;
    const std::string before = ReadFile(path);
    const std::string fresh = path + ".repaired";
    CompoundFile target;
    {
        Recovery::File file;
        EXPECT_EQ(file.Open(path.c_str()), Recovery::Status::Ok);
        EXPECT_TRUE(file.SetPassword(password));
        EXPECT_EQ(target.Open(fresh.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
        EXPECT_EQ(file.Repair(target, result.saved), Recovery::Status::Ok);
        EXPECT_EQ(target.Close(), KrStreamE::Ok);
    }
    result.bytes = ReadFile(fresh);
    EXPECT_EQ(KindsFound(fresh, password), "") << Findings(fresh, password);
    EXPECT_EQ(target.Open(fresh.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    EXPECT_TRUE(target.SetPassword(password));
    result.entries = GetAll(target);
    target.Close();
    EXPECT_TRUE(ReadFile(path) == before);
    boost::filesystem::remove(fresh);
    return result;
}
