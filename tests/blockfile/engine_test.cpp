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
        *OpenEntryStream(*engine_, "log", KrIOStreamDevice::Append | KrIOStreamDevice::Binary)
            << part;
    }
    auto stream =
        OpenEntryStream(*engine_, "log", KrIOStreamDevice::Read | KrIOStreamDevice::Binary);
    std::ostringstream bytes;
    bytes << stream->rdbuf();
    EXPECT_EQ(bytes.str(), "one two");
    engine_->Release();
    EXPECT_EQ(Servers::Get()->Find(path_), engine_) << "the stream holds the engine";
    stream.reset();
    EXPECT_EQ(Servers::Get()->Find(path_), nullptr);
}

TEST_F(Engine, DeviceNamesTheFailedOperation) {
    DataBlock first;
    const auto entry = engine_->CreateEntry("e", first);
    ASSERT_TRUE(entry);
    KrIOStreamDevice device(*engine_, *entry, nullptr);
    ASSERT_TRUE(engine_->DeleteCFFile("e"));
    engine_->Release();
    const auto textOf = [](const auto& action) {
        try {
            action();
        } catch (const KrIOStreamDevice::KrIOException& error) {
            return std::string(error.what()).substr(0, 32);
        }
        return std::string("nothing thrown");
    };
    char byte = 'x';
    EXPECT_EQ(textOf([&] { device.read(&byte, 1); }), "Error in KrIOStreamDevice::read:");
    EXPECT_EQ(textOf([&] { device.write(&byte, 1); }), "Error in KrIOStreamDevice::write");
    EXPECT_EQ(textOf([&] { device.seek(0, std::ios::beg); }), "Error in KrIOStreamDevice::seek:");
    EXPECT_EQ(textOf([&] { device.flush(); }), "Error in KrIOStreamDevice::flush");
}

} // namespace
