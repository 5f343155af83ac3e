#pragma once

#include "tests/support/Entries.h"
#include "tests/support/Findings.h"
#include "tests/support/RawFile.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

/// Each test has a file of its own, which is empty and open when it begins. However it is left, it
/// has to obey every rule of the format when it is closed, unless the test began with one that does
/// not.
class FileTest : public testing::Test {
protected:
    void SetUp() override { Open(); }
    void TearDown() override {
        file_.Close();
        if (!beganUnsound_) {
            EXPECT_EQ(Findings(path_), "");
        }
    }
    /// Opens the file, or opens it anew, without a password.
    void Open(KrStreamE::OpenMode mode = KrStreamE::ReadWrite) {
        ASSERT_EQ(file_.Open(path_.c_str(), mode), KrStreamE::Ok);
    }
    void OpenWith(const std::string& bytes, KrStreamE::OpenMode mode = KrStreamE::ReadWrite) {
        file_.Close();
        WriteFile(path_, bytes);
        beganUnsound_ = !Findings(path_).empty();
        Open(mode);
    }
    RawFile Closed() {
        EXPECT_EQ(file_.Close(), KrStreamE::Ok);
        return RawFile(ReadFile(path_));
    }
    /// Closes the file; its bytes have to obey every rule.
    RawFile ClosedSound() {
        RawFile raw = Closed();
        EXPECT_EQ(Findings(path_), "");
        return raw;
    }

    TempFolder folder_;
    const std::string path_ = folder_ / "file";
    CompoundFile file_;
    bool beganUnsound_ = false;
};
