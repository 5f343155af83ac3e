#include "fuzz/Decoder.h"
#include "fuzz/Require.h"
#include "tests/support/Entries.h"

#include <TALVOkrstream/KStreamBase.h>
#include <TALVOkrstream/StreamDirectory.h>

#include <vector>

namespace {

/// Whether the stream stands behind these bytes of its own, having read nothing else.
void RequireRead(std::stringstream& is, const std::string& written) {
    Require(is.str().compare(0, written.size(), written) == 0, "what is read is what is written");
    Require(is.tellg() == static_cast<std::streamoff>(written.size()), "no more is read");
}

void ReadHeads(const std::string& bytes, const std::string& magic) {
    std::stringstream is(bytes);
    std::ostringstream os;
    KStreamableData head(0, magic.c_str());
    if (head.Check(is)) {
        KStreamableData(head.GetKStreamVersionNumber(), magic.c_str()).Write(os);
        RequireRead(is, os.str());
    }
    std::stringstream lightIs(bytes);
    unsigned short version = 0;
    if (KStreamLight::CheckMagicStringAndVersionNumber(lightIs, version, magic.c_str())) {
        std::ostringstream light;
        KStreamLight::WriteMagicStringAndVersionNumber(light, version, magic.c_str());
        RequireRead(lightIs, light.str());
    }
    std::stringstream objectIs(bytes);
    KStreamBase object;
    objectIs >> object;
    Require(!objectIs.fail() ==
                (bytes.compare(0, 7, std::string("\3\0\0\0KSB", 7)) == 0 && bytes.size() >= 9),
            "an object is read where one stands");
}

void WriteAndReadHeads(Decoder& input) {
    const std::string magic = Pattern(input.Below(256), input.Byte());
    const auto version = static_cast<unsigned short>(input.Short());
    std::stringstream stream;
    const KStreamableData written(static_cast<short>(version), magic.c_str());
    Require(written.Write(stream) && stream << KStreamBase() &&
                KStreamLight::WriteMagicStringAndVersionNumber(stream, version, magic.c_str()),
            "heads are written");
    KStreamableData read(0, magic.c_str());
    KStreamBase object;
    unsigned short light = 0;
    Require(read.Check(stream) && read.GetKStreamVersionNumber() == static_cast<short>(version) &&
                stream >> object &&
                KStreamLight::CheckMagicStringAndVersionNumber(stream, light, magic.c_str()) &&
                light == version,
            "heads are read back");
}

void ReadDirectory(const std::string& bytes) {
    std::stringstream is(bytes);
    try {
        InputStreamDirectory directory(is);
        Require(bytes.empty() || is.fail() || bytes[1] == 'A', "a directory has its magic");
        for (unsigned id = 0; id < 300; ++id) {
            std::istream* const part = directory.GetInput(static_cast<unsigned short>(id));
            Require(part == nullptr || part->tellg() <= static_cast<std::streamoff>(bytes.size()),
                    "a sub-stream lies in its stream");
        }
        directory.Close();
        Require(directory.GetInput(0) == nullptr, "a closed directory has nothing");
    } catch (const Exception&) {
        Require(bytes.size() >= 4 && (bytes[2] > 2 || bytes[2] < 0 || bytes[3] != 0),
                "only a newer version is refused so");
    }
}

/// Sub-streams in any order of their IDs; those without bytes leave nothing.
void WriteAndReadDirectory(Decoder& input, std::iostream& stream) {
    std::map<unsigned short, std::string> parts;
    stream << Pattern(input.Below(40), 1);
    const std::streamoff begin = stream.tellp();
    const std::size_t count = input.Below(81);
    std::streamoff end = 0;
    {
        OutputStreamDirectory directory(stream, static_cast<unsigned short>(std::min<std::size_t>(
                                                    80, count + input.Byte() % 3)));
        for (std::size_t i = 0; i < count; ++i) {
            const auto id = static_cast<unsigned short>(input.Byte() * 8 + i);
            if (parts.count(id) == 0) {
                const std::string bytes = Pattern(input.Byte(), id);
                directory.GetOutput(id) << bytes;
                if (!bytes.empty()) {
                    parts[id] = bytes;
                }
            }
        }
        directory.Close();
        end = stream.tellp();
    }
    Require(stream.seekg(begin).good(), "a directory is written");
    InputStreamDirectory directory(stream);
    for (const auto& [id, bytes] : parts) {
        std::string found(bytes.size(), '\0');
        std::istream* const part = directory.GetInput(id);
        Require(part != nullptr &&
                    part->read(found.data(), static_cast<std::streamsize>(found.size())) &&
                    found == bytes,
                "a sub-stream is read back");
    }
    directory.Close();
    Require(stream.tellg() == end, "a closed directory leaves the stream behind it");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    Decoder input(bytes, count);
    const unsigned choice = input.Byte() % 5;
    if (choice == 0) {
        const std::string magic = input.OneIn(2) ? "KSB" : Pattern(input.Below(4), 1).c_str();
        ReadHeads(input.Rest(), magic);
    } else if (choice == 1) {
        WriteAndReadHeads(input);
    } else if (choice == 2) {
        ReadDirectory(input.Rest());
    } else if (choice == 3) {
        std::stringstream stream;
        WriteAndReadDirectory(input, stream);
    } else {
        const auto memory = std::make_shared<std::stringstream>();
        CompoundFile file;
        file.Open(memory);
        WriteAndReadDirectory(input, *file.GetIOStream("record", "wb"));
    }
    return 0;
}
