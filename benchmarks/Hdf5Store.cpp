#include "benchmarks/Contenders.h"

#include <stdexcept>
#include <utility>

#include <hdf5.h>

namespace {

/// The library answers with negative numbers when it fails.
void Require(hid_t result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(std::string("hdf5: ") + what);
    }
}

/// An identifier of the library, closed with the object where Close was not called.
class Handle {
public:
    using CloseFunction = herr_t (*)(hid_t);

    Handle() = default;
    Handle(hid_t id, CloseFunction close, const char* what) : id_(id), close_(close) {
        Require(id, what);
    }
    ~Handle() {
        if (id_ >= 0) {
            close_(id_);
        }
    }
    Handle(Handle&& other) noexcept
        : id_(std::exchange(other.id_, H5I_INVALID_HID)), close_(other.close_) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(id_, other.id_);
        std::swap(close_, other.close_);
        return *this;
    }

    hid_t Id() const { return id_; }
    void Close() { Require(close_(std::exchange(id_, H5I_INVALID_HID)), "close"); }

private:
    hid_t id_ = H5I_INVALID_HID;
    CloseFunction close_ = nullptr;
};

Handle MakeSpace(hsize_t size) {
    return {H5Screate_simple(1, &size, nullptr), H5Sclose, "create a space"};
}

/// A stream's dataset, with the selections that pieces of it are moved by.
class ByteArray {
public:
    ByteArray(Handle dataset, Handle space)
        : dataset_(std::move(dataset)), space_(std::move(space)), memory_(MakeSpace(1)) {}

    void Write(hsize_t offset, const char* bytes, std::size_t count) {
        Select(offset, count);
        Require(H5Dwrite(dataset_.Id(), H5T_NATIVE_UINT8, memory_.Id(), space_.Id(), H5P_DEFAULT,
                         bytes),
                "write");
    }
    void Read(hsize_t offset, char* bytes, std::size_t count) {
        Select(offset, count);
        Require(
            H5Dread(dataset_.Id(), H5T_NATIVE_UINT8, memory_.Id(), space_.Id(), H5P_DEFAULT, bytes),
            "read");
    }
    void Close() { dataset_.Close(); }

private:
    void Select(hsize_t offset, hsize_t count) {
        Require(H5Sselect_hyperslab(space_.Id(), H5S_SELECT_SET, &offset, nullptr, &count, nullptr),
                "select");
        if (count != memorySize_) {
            Require(H5Sset_extent_simple(memory_.Id(), 1, &count, nullptr), "resize a space");
            memorySize_ = count;
        }
    }

    Handle dataset_;
    Handle space_;
    Handle memory_;
    hsize_t memorySize_ = 1;
};

class ArrayWriter : public Store::Writer {
public:
    explicit ArrayWriter(ByteArray array) : array_(std::move(array)) {}

    void Write(const char* bytes, std::size_t count) override {
        array_.Write(position_, bytes, count);
        position_ += count;
    }
    void Close() override { array_.Close(); }

private:
    ByteArray array_;
    hsize_t position_ = 0;
};

class ArrayReader : public Store::Reader {
public:
    explicit ArrayReader(ByteArray array) : array_(std::move(array)) {}

    void Read(char* bytes, std::size_t count) override {
        array_.Read(position_, bytes, count);
        position_ += count;
    }
    void ReadAt(std::uint64_t offset, char* bytes, std::size_t count) override {
        array_.Read(offset, bytes, count);
    }

private:
    ByteArray array_;
    hsize_t position_ = 0;
};

herr_t VisitName(hid_t, const char* name, const H5L_info_t*, void* visit) {
    (*static_cast<std::function<void(const char* name)>*>(visit))(name);
    return 0;
}

class Hdf5Store : public Store {
public:
    void Open(const std::string& path, Mode mode) override {
        // What fails is reported by an exception.
        Require(H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr), "silence");
        const Handle access(H5Pcreate(H5P_FILE_ACCESS), H5Pclose, "create properties");
        Require(H5Pset_libver_bounds(access.Id(), H5F_LIBVER_LATEST, H5F_LIBVER_LATEST),
                "choose the format");
        if (mode == Mode::Read) {
            // Each random read would fill a buffer of 64 KiB; reads in order lose little without.
            Require(H5Pset_sieve_buf_size(access.Id(), 0), "read without a buffer");
        }
        file_ = Handle(OpenFile(path, mode, access.Id()), H5Fclose, "open");
        creation_ = Handle(H5Pcreate(H5P_DATASET_CREATE), H5Pclose, "create properties");
        Require(H5Pset_fill_time(creation_.Id(), H5D_FILL_TIME_NEVER), "never fill");
        Require(H5Pset_obj_track_times(creation_.Id(), false), "keep no times");
    }
    void Close() override {
        creation_.Close();
        file_.Close();
    }

    std::unique_ptr<Writer> Write(const std::string& name, std::uint64_t size) override {
        const htri_t exists = H5Lexists(file_.Id(), name.c_str(), H5P_DEFAULT);
        Require(exists, "look a stream up");
        if (exists > 0) {
            Require(H5Ldelete(file_.Id(), name.c_str(), H5P_DEFAULT), "remove a stream");
        }
        Handle space = MakeSpace(size);
        Handle dataset(H5Dcreate2(file_.Id(), name.c_str(), H5T_NATIVE_UINT8, space.Id(),
                                  H5P_DEFAULT, creation_.Id(), H5P_DEFAULT),
                       H5Dclose, "create a stream");
        return std::make_unique<ArrayWriter>(ByteArray(std::move(dataset), std::move(space)));
    }
    std::unique_ptr<Reader> Find(const std::string& name) override {
        Handle dataset(H5Dopen2(file_.Id(), name.c_str(), H5P_DEFAULT), H5Dclose, "find a stream");
        Handle space(H5Dget_space(dataset.Id()), H5Sclose, "get a space");
        return std::make_unique<ArrayReader>(ByteArray(std::move(dataset), std::move(space)));
    }
    void List(const std::function<void(const char* name)>& visit) override {
        auto visitor = visit;
        Require(H5Literate(file_.Id(), H5_INDEX_NAME, H5_ITER_NATIVE, nullptr, VisitName, &visitor),
                "list");
    }

private:
    static hid_t OpenFile(const std::string& path, Mode mode, hid_t access) {
        if (mode == Mode::Create) {
            return H5Fcreate(path.c_str(), H5F_ACC_EXCL, H5P_DEFAULT, access);
        }
        const unsigned flags = mode == Mode::Read ? H5F_ACC_RDONLY : H5F_ACC_RDWR;
        return H5Fopen(path.c_str(), flags, access);
    }

    Handle file_;
    Handle creation_;
};

std::string Version() {
    unsigned major = 0;
    unsigned minor = 0;
    unsigned release = 0;
    H5get_libversion(&major, &minor, &release);
    return std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(release);
}

} // namespace

Contender Hdf5Contender() {
    return {"HDF5", Version,
            []() -> std::unique_ptr<Store> { return std::make_unique<Hdf5Store>(); }};
}
