#include "benchmarks/Contenders.h"

#include <stdexcept>

#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-memory.h>
#include <gsf/gsf-input.h>
#include <gsf/gsf-outfile-msole.h>
#include <gsf/gsf-outfile.h>
#include <gsf/gsf-output-stdio.h>
#include <gsf/gsf-output.h>
#include <gsf/gsf-utils.h>

namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(std::string("libgsf: ") + what);
    }
}

struct Unreference {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using Reference = std::unique_ptr<T, Unreference>;

class ChildWriter : public Store::Writer {
public:
    explicit ChildWriter(Reference<GsfOutput> output) : output_(std::move(output)) {}

    void Write(const char* bytes, std::size_t count) override {
        const void* const data = bytes;
        Require(gsf_output_write(output_.get(), count, static_cast<const guint8*>(data)) != FALSE,
                "write");
    }
    void Close() override { Require(gsf_output_close(output_.get()) != FALSE, "close a stream"); }

private:
    const Reference<GsfOutput> output_;
};

class ChildReader : public Store::Reader {
public:
    explicit ChildReader(Reference<GsfInput> input) : input_(std::move(input)) {}

    void Read(char* bytes, std::size_t count) override {
        void* const data = bytes;
        Require(gsf_input_read(input_.get(), count, static_cast<guint8*>(data)) != nullptr, "read");
    }
    void ReadAt(std::uint64_t offset, char* bytes, std::size_t count) override {
        const gboolean failed =
            gsf_input_seek(input_.get(), static_cast<gsf_off_t>(offset), G_SEEK_SET);
        Require(failed == FALSE, "seek");
        Read(bytes, count);
    }

private:
    const Reference<GsfInput> input_;
};

/// The library writes a file as a whole and reads it, but it changes none.
class Ole2Store : public Store {
public:
    void Open(const std::string& path, Mode mode) override {
        Require(mode != Mode::Change, "open for changes");
        if (mode == Mode::Create) {
            Create(path);
        } else {
            Read(path);
        }
    }
    void Close() override {
        infile_.reset();
        if (outfile_) {
            Require(gsf_output_close(GSF_OUTPUT(outfile_.get())) != FALSE, "close");
            // The container does not look at every write to its file; the file remembers.
            Require(gsf_output_error(sink_.get()) == nullptr, "write the file");
            outfile_.reset();
            sink_.reset();
        }
    }

    std::unique_ptr<Writer> Write(const std::string& name, std::uint64_t) override {
        Reference<GsfOutput> child(gsf_outfile_new_child(outfile_.get(), name.c_str(), FALSE));
        Require(child != nullptr, "create a stream");
        return std::make_unique<ChildWriter>(std::move(child));
    }
    std::unique_ptr<Reader> Find(const std::string& name) override {
        Reference<GsfInput> child(gsf_infile_child_by_name(infile_.get(), name.c_str()));
        Require(child != nullptr, "find a stream");
        return std::make_unique<ChildReader>(std::move(child));
    }
    void List(const std::function<void(const char* name)>& visit) override {
        const int count = gsf_infile_num_children(infile_.get());
        for (int index = 0; index < count; ++index) {
            visit(gsf_infile_name_by_index(infile_.get(), index));
        }
    }

private:
    void Create(const std::string& path) {
        sink_.reset(gsf_output_stdio_new(path.c_str(), nullptr));
        Require(sink_ != nullptr, "create");
        // Sectors of the default size: with those of 4096 bytes most files come out with one
        // allocation sector too many and cannot be read.
        outfile_.reset(gsf_outfile_msole_new(sink_.get()));
        Require(outfile_ != nullptr, "begin the file");
    }
    void Read(const std::string& path) {
        const Reference<GsfInput> source(gsf_input_mmap_new(path.c_str(), nullptr));
        Require(source != nullptr, "open");
        infile_.reset(gsf_infile_msole_new(source.get(), nullptr));
        Require(infile_ != nullptr, "read the directory");
    }

    Reference<GsfOutput> sink_;
    Reference<GsfOutfile> outfile_;
    Reference<GsfInfile> infile_;
};

std::string Version() {
    return std::to_string(libgsf_major_version) + '.' + std::to_string(libgsf_minor_version) + '.' +
           std::to_string(libgsf_micro_version);
}

} // namespace

Contender Ole2Contender() {
    gsf_init();
    return {"libgsf", Version,
            []() -> std::unique_ptr<Store> { return std::make_unique<Ole2Store>(); }, false};
}
