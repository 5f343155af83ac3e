#pragma once

#include "tests/support/Entries.h"
#include "tests/support/Findings.h"
#include "tests/support/Sources.h"
#include "tests/support/TempFolder.h"

#include <TALVOkrstream/CompoundFileStreamSource.h>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

using Source = CompoundFileStreamSource;

/// A project of a few streams, and a source for it that works in a folder beside.
class Project : public testing::Test {
protected:
    Project() { WriteFile(path_, FileOf(kStreams)); }

    void Open(Source::OpenMode mode = Source::NewWorkspace) {
        ASSERT_EQ(source_.Open(mode, false), Source::NoError);
    }
    /// Saves what changed, closes, and shows what is in the file then.
    Model Saved() {
        EXPECT_EQ(source_.Close(Source::SaveChanges, false), Source::NoError);
        EXPECT_FALSE(boost::filesystem::exists(workspace_));
        EXPECT_EQ(Findings(path_), "");
        return GetAll(path_);
    }

    std::string InWorkspace(const std::string& name) const { return workspace_ + "/" + name; }
    bool HasFile(const std::string& name) const {
        return boost::filesystem::exists(boost::filesystem::symlink_status(InWorkspace(name)));
    }
    std::set<std::string> Names() const {
        std::set<std::string> names = *source_.GetFileNames();
        names.erase(CompoundFile::kFreeListEntryName);
        return names;
    }
    /// The project's streams with some of them changed.
    static Model With(const Model& changed) {
        Model streams = changed;
        streams.insert(kStreams.begin(), kStreams.end());
        return streams;
    }

    inline static const Model kStreams = {{"a", Pattern(5000, 1)},
                                          {"b", Pattern(20480, 2)},
                                          {"empty", ""},
                                          {"Mixed.Case", Pattern(1003, 3)}};

    const TempFolder folder_;
    const std::string path_ = folder_ / "project";
    const std::string workspace_ = folder_ / "workspace";
    Source source_{path_.c_str(), workspace_.c_str()};
};
