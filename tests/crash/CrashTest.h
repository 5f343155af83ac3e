#pragma once

#include "tests/crash/Scenarios.h"
#include "tests/crash/Survey.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <iostream>

/// Runs scenarios, and looks at what a crash at any of their moments leaves.
class Crash : public testing::Test {
protected:
    void TearDown() override {
        RecordProperty("points", static_cast<int>(points_));
        std::cout << points_ << " points\n";
    }

    void ForEachScenario(const std::function<void(const Work&)>& look) {
        for (const Scenario& scenario : Scenarios()) {
            RunOne(scenario, look);
        }
        for (unsigned seed = 1; seed <= SeedCount(); ++seed) {
            RunOne(RandomScenario(seed), look);
        }
    }

    /// Puts what a crash left where it can be looked at.
    void Leave(const Disk& disk) {
        ++points_;
        const auto file = disk.find(path_);
        // A new file: some file systems wait for the disk when an old one is emptied.
        boost::filesystem::remove(crashed_);
        WriteFile(crashed_, file == disk.end() ? "" : file->second);
    }

    const TempFolder folder_;
    const std::string path_ = folder_ / "file";
    const std::string crashed_ = folder_ / "crashed";
    unsigned points_ = 0;
    int complaints_ = 0;

    void Complain(std::size_t operation, const std::string& what) {
        if (!what.empty() && ++complaints_ <= 12) {
            ADD_FAILURE() << "operation " << operation << ": " << what;
        }
    }

private:
    void RunOne(const Scenario& scenario, const std::function<void(const Work&)>& look) {
        SCOPED_TRACE(scenario.name);
        complaints_ = 0;
        Work work(path_, scenario.before);
        scenario.run(work);
        work.Close();
        ASSERT_TRUE(work.IsFine());
        look(work);
    }
};
