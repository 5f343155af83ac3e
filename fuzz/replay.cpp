#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

namespace fs = boost::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count);

namespace {

void Replay(const fs::path& path) {
    std::ifstream file(path.string(), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    // Named first, because a finding ends the program.
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

} // namespace

/// Runs a fuzz target once on each named input, and on each in a named folder: for compilers
/// without a fuzzer, and to see a finding again.
int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) {
            Replay(argv[i]);
            continue;
        }
        for (const auto& input : fs::directory_iterator(argv[i])) {
            Replay(input.path());
        }
    }
    return argc > 1 ? 0 : 1;
}
