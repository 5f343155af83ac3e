#include "fuzz/Decoder.h"
#include "fuzz/Require.h"
#include "tests/support/Entries.h"

#include <TALVOkrstream/KStreamBase.h>
#include <TALVOkrstream/StreamDirectory.h>

namespace {

/// What was read has to be what a writer writes, and nothing behind it.
void RequireRead(std::stringstream& is, const std::ostringstream& written) {
    const std::string bytes = written.str();
    Require(is.str().compare(0, bytes.size(), bytes) == 0 &&
                is.tellg() == static_cast<std::streamoff>(bytes.size()),
            "a head that was read");
}

void ReadHeads(const std::string& bytes, const char* magic) {
    std::stringstream is(bytes);
    std::ostringstream written;
    KStreamableData head(0, magic);
    if (head.Check(is)) {
        KStreamableData(head.GetKStreamVersionNumber(), magic).Write(written);
        RequireRead(is, written);
    }
    is = std::stringstream(bytes);
    written.str("");
    unsigned short version = 0;
    if (KStreamLight::CheckMagicStringAndVersionNumber(is, version, magic)) {
        KStreamLight::WriteMagicStringAndVersionNumber(written, version, magic);
        RequireRead(is, written);
    }
}

void WriteAndReadHeads(Decoder& input) {
    const std::string bytes = Pattern(input.Below(256), input.Byte());
    const char* const magic = bytes.c_str();
    const auto version = static_cast<unsigned short>(input.Short());
    std::stringstream stream;
    KStreamBase object;
    Require(KStreamableData(static_cast<short>(version), magic).Write(stream) && stream << object &&
                KStreamLight::WriteMagicStringAndVersionNumber(stream, version, magic),
            "heads are written");
    KStreamableData head(0, magic);
    unsigned short light = 0;
    Require(head.Check(stream) && stream >> object &&
                KStreamLight::CheckMagicStringAndVersionNumber(stream, light, magic) &&
                head.GetKStreamVersionNumber() == static_cast<short>(version) && light == version,
            "heads are read back");
}

void ReadDirectory(const std::string& bytes) {
    std::stringstream is(bytes);
    try {
        InputStreamDirectory directory(is);
        for (unsigned short id = 0; id < 300; ++id) {
            std::istream* const part = directory.GetInput(id);
            Require(part == nullptr || part->tellg() <= static_cast<std::streamoff>(bytes.size()),
                    "a sub-stream lies in its stream");
        }
        directory.Close();
        Require(directory.GetInput(0) == nullptr, "a closed directory has nothing");
    } catch (const Exception&) {
        Require(bytes.compare(0, 2, "zA") == 0, "only a newer version is refused like this");
    }
}

/// Sub-streams in any order of their IDs; those without bytes leave nothing.
void WriteAndReadDirectory(Decoder& input, std::iostream& stream) {
    stream << Pattern(input.Below(40), 1);
    const std::streamoff begin = stream.tellp();
    const std::size_t slots = input.Below(OutputStreamDirectory::kMaxSlots + 1);
    std::map<unsigned short, std::string> parts;
    OutputStreamDirectory writer(stream, static_cast<unsigned short>(slots));
    while (parts.size() < slots && !input.IsDone()) {
        const auto id = static_cast<unsigned short>(input.Short());
        if (parts.count(id) == 0) {
            const std::string bytes = Pattern(input.Byte(), id);
            writer.GetOutput(id) << bytes;
            if (!bytes.empty()) {
                parts[id] = bytes;
            }
        }
    }
    writer.Close();
    const std::streamoff end = stream.tellp();
    Require(stream.seekg(begin).good(), "a directory is written");
    InputStreamDirectory reader(stream);
    for (const auto& [id, bytes] : parts) {
        std::string found(bytes.size(), '\0');
        std::istream* const part = reader.GetInput(id);
        Require(part != nullptr &&
                    part->read(found.data(), static_cast<std::streamsize>(found.size())) &&
                    found == bytes,
                "a sub-stream is read back");
    }
    reader.Close();
    Require(stream.tellg() == end, "a closed directory leaves the stream behind it");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    Decoder input(bytes, count);
    std::stringstream stream;
    CompoundFile file;
    switch (input.Below(5)) {
    case 0:
        ReadHeads(input.Rest(), count % 2 == 0 ? "KSB" : "");
        break;
    case 1:
        WriteAndReadHeads(input);
        break;
    case 2:
        ReadDirectory(input.Rest());
        break;
    case 3:
        WriteAndReadDirectory(input, stream);
        break;
    default:
        const auto memory = std::make_shared<std::stringstream>();
        file.Open(memory, false);
        WriteAndReadDirectory(input, *file.GetIOStream("record", "wb"));
    }
    return 0;
}
