#include <TALVOkrstream/KrStreamSource.h>

#include <gtest/gtest.h>

#include <climits>

namespace {

using Device = KrContainerDevice<std::vector<char>>;

std::vector<char> Bytes(const std::string& text) {
    return {text.begin(), text.end()};
}

TEST(ContainerDevice, SeeksWithinTheContainerOnly) {
    struct {
        std::string content;
        std::int64_t offset;
        std::ios_base::seekdir direction;
        std::int64_t target;
    } const cases[] = {
        {"0123456789", 4, std::ios_base::beg, 4},
        {"0123456789", 10, std::ios_base::beg, 10},
        {"0123456789", 11, std::ios_base::beg, -1},
        {"0123456789", -1, std::ios_base::beg, -1},
        // The position is 3.
        {"0123456789", -3, std::ios_base::cur, 0},
        {"0123456789", -4, std::ios_base::cur, -1},
        {"0123456789", INT64_MAX, std::ios_base::cur, -1},
        {"0123456789", 0, std::ios_base::end, 9},
        {"0123456789", 1, std::ios_base::end, 10},
        {"0123456789", 2, std::ios_base::end, -1},
        {"0123456789", INT64_MIN, std::ios_base::end, -1},
        {"", 0, std::ios_base::end, -1},
        {"", 1, std::ios_base::end, 0},
    };
    for (const auto& seek : cases) {
        std::vector<char> content = Bytes(seek.content);
        Device device(content);
        char skipped[3];
        device.read(skipped, 3);
        try {
            EXPECT_EQ(device.seek(seek.offset, seek.direction), seek.target);
        } catch (const std::ios_base::failure& failure) {
            EXPECT_EQ(seek.target, -1) << seek.offset;
            EXPECT_EQ(failure.code(), std::io_errc::stream);
            EXPECT_NE(std::string(failure.what()).find("bad seek offset"), std::string::npos);
        }
    }
    std::vector<char> content;
    EXPECT_THROW(Device(content).seek(0, static_cast<std::ios_base::seekdir>(77)),
                 std::ios_base::failure);
}

TEST(ContainerDevice, WritesOverWhatThereIsAndAppendsTheRest) {
    std::vector<char> content = Bytes("0123456789");
    Device device(content);
    Device copy = device;
    device.seek(8, std::ios_base::beg);
    EXPECT_EQ(device.write("abcde", 5), 5);
    EXPECT_EQ(content, Bytes("01234567abcde"));
    EXPECT_EQ(device.seek(0, std::ios_base::cur), 13);
    char bytes[20];
    EXPECT_EQ(device.read(bytes, 20), -1);
    EXPECT_EQ(copy.read(bytes, 0), -1);
    EXPECT_EQ(copy.read(bytes, 20), 13) << "a copy has a position of its own";
    EXPECT_EQ(std::string(bytes, 13), "01234567abcde");
}

} // namespace
