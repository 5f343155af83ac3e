#include "benchmarks/Works.h"

#include <TALVOkrstream/CompoundFile.h>
#include <TALVOkrstream/CompoundFileStreamSource.h>

#include <boost/filesystem/operations.hpp>

#include <istream>
#include <stdexcept>

namespace {

using Source = CompoundFileStreamSource;

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(std::string("krstream: ") + what);
    }
}

void Open(CompoundFile& file, const std::string& path, KrStreamE::OpenMode mode) {
    Require(file.Open(path.c_str(), mode) == KrStreamE::Ok, "open");
}

void Open(Source& source) {
    Require(source.Open(Source::NewWorkspace, false) == Source::NoError, "open the workspace");
}

} // namespace

Sample OwnWorks::CreateEncrypted(const Job& job, const Contender&) {
    return Measure([&] {
        CompoundFile file;
        Open(file, job.path, KrStreamE::ReadWrite);
        Require(file.Encrypt(kPassword) == KrStreamE::Ok, "encrypt");
        WriteStream(*file.GetIOStream(StreamName(0).c_str(), "wb"), 0, job.sizes.largeStream);
        Require(file.Close() == KrStreamE::Ok, "close");
    });
}

Sample OwnWorks::ReadEncrypted(const Job& job, const Contender&) {
    return Measure([&] {
        CompoundFile file;
        Open(file, job.path, KrStreamE::ReadOnly);
        Require(file.SetPassword(kPassword), "password");
        ReadStream(*file.GetIOStream(StreamName(0).c_str(), "rb"), job.sizes.largeStream);
    });
}

Sample OwnWorks::ChangeThroughWorkspace(const Job& job, const Contender&) {
    return Measure([&] {
        Source source(job.path.c_str(), job.scratch.c_str());
        Open(source);
        ReadStream(*source.GetIStream(StreamName(1).c_str()), job.sizes.mediumStream);
        WriteStream(*source.GetOStream(StreamName(2).c_str()), 2, job.sizes.mediumStream);
        Require(source.CopyToBlockFile(false) == Source::NoError, "save");
        Require(source.Close(Source::DiscardChanges, false) == Source::NoError, "close");
    });
}

Sample OwnWorks::Compact(const Job& job, const Contender&) {
    Source source(job.path.c_str(), job.scratch.c_str());
    Open(source);
    const Sample sample = Measure([&] { source.CompactCompoundFile(); });
    Require(source.Close(Source::DiscardChanges, false) == Source::NoError, "close");
    return sample;
}

Sample OwnWorks::SaveAs(const Job& job, const Contender&) {
    const std::string copy = job.scratch + ".kr";
    Source source(job.path.c_str(), job.scratch.c_str());
    Open(source);
    const Sample sample =
        Measure([&] { Require(source.SaveAs(copy.c_str()) == Source::NoError, "save as"); });
    Require(source.Close(Source::DiscardChanges, false) == Source::NoError, "close");
    return sample;
}
