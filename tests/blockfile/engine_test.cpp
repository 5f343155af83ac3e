#include "blockfile/CompoundFileServer.h"
#include "blockfile/EntryStream.h"
#include "blockfile/KrIOStreamDevice.h"
#include "compoundfile/Servers.h"
#include "tests/support/Entries.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

class Engine : public testing::Test {
protected:
    void SetUp() override {
        engine_ = Servers::Get()->AcquireByPath(path_.c_str(), KrStreamE::ReadWrite);
        ASSERT_NE(engine_, nullptr);
    }

    TempFolder folder_;
    const std::string path_ = folder_ / "file";
    CompoundFileServer* engine_ = nullptr;
};

TEST_F(Engine, AppendingStreamStartsAtTheEnd) {
    for (const char* part : {"one ", "two"}) {
        OpenEntryStream(*engine_, "log", KrIOStreamDevice::Append | KrIOStreamDevice::Binary)
            ->write(part, static_cast<std::streamsize>(std::strlen(part)));
    }
    const auto stream =
        OpenEntryStream(*engine_, "log", KrIOStreamDevice::Read | KrIOStreamDevice::Binary);
    std::ostringstream bytes;
    bytes << stream->rdbuf();
    EXPECT_EQ(bytes.str(), "one two");
    engine_->Release(nullptr);
    EXPECT_EQ(Servers::Get()->Find(path_), engine_) << "the stream holds the engine";
}

TEST_F(Engine, RegistryKeepsTheFirstEngineOfAPath) {
    const auto servers = Servers::Get();
    EXPECT_EQ(servers->Find(path_), engine_);
    EXPECT_EQ(servers->Find(folder_ / "FILE"), engine_);
    EXPECT_EQ(servers->AcquireByPath(path_.c_str(), KrStreamE::ReadOnly), engine_);
    engine_->Release(nullptr);
    EXPECT_EQ(servers->Find(path_), engine_);
    engine_->Release("a name that nobody counted");
    EXPECT_EQ(servers->Find(path_), nullptr);
    EXPECT_EQ(servers->AcquireByPath((folder_ / "no/folder").c_str(), KrStreamE::ReadOnly),
              nullptr);
    EXPECT_EQ(servers->Find(folder_ / "no/folder"), nullptr);
}

TEST_F(Engine, DeviceNamesTheFailedOperation) {
    const auto entry = engine_->CreateEntry("e");
    ASSERT_TRUE(entry);
    {
        KrIOStreamDevice device(*engine_, *entry);
        const auto textOf = [](const auto& action) {
            try {
                action();
            } catch (const KrIOStreamDevice::KrIOException& error) {
                return std::string(error.what()).substr(0, 32);
            }
            return std::string("nothing thrown");
        };
        ASSERT_TRUE(engine_->DeleteCFFile("e"));
        char byte = 'x';
        EXPECT_EQ(textOf([&] { device.read(&byte, 1); }), "Error in KrIOStreamDevice::read:");
        EXPECT_EQ(textOf([&] { device.write(&byte, 1); }), "Error in KrIOStreamDevice::write");
        EXPECT_EQ(textOf([&] { device.seek(0, std::ios::beg); }),
                  "Error in KrIOStreamDevice::seek:");
        EXPECT_EQ(textOf([&] { device.flush(); }), "Error in KrIOStreamDevice::flush");
    }
    engine_->Release(nullptr);
}

} // namespace
