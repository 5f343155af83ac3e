#include "benchmarks/Contenders.h"

#include <limits>
#include <stdexcept>
#include <utility>

#include <sqlite3.h>

namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(std::string("sqlite: ") + what);
    }
}

void RequireOk(int result, const char* what) {
    Require(result == SQLITE_OK, what);
}

/// Streams of at most this size are bound whole; larger ones are not held in memory.
constexpr std::uint64_t kMaxBoundSize = 64 << 10;

/// The interface to parts of blobs counts in int.
int ToInt(std::uint64_t value) {
    Require(value <= static_cast<std::uint64_t>(std::numeric_limits<int>::max()), "range");
    return static_cast<int>(value);
}

template <auto close>
struct Closer {
    template <typename T>
    void operator()(T* object) const {
        close(object);
    }
};
using Database = std::unique_ptr<sqlite3, Closer<sqlite3_close>>;
using Statement = std::unique_ptr<sqlite3_stmt, Closer<sqlite3_finalize>>;
using Blob = std::unique_ptr<sqlite3_blob, Closer<sqlite3_blob_close>>;

Database OpenDatabase(const std::string& path, Store::Mode mode) {
    int flags = mode == Store::Mode::Read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    if (mode == Store::Mode::Create) {
        flags |= SQLITE_OPEN_CREATE;
    }
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    Database database(opened);
    RequireOk(result, "open");
    return database;
}

/// One transaction over a table of streams.
class Transaction {
public:
    Transaction(const std::string& path, Store::Mode mode, const char* settings)
        : writable_(mode != Store::Mode::Read), database_(OpenDatabase(path, mode)) {
        Execute(settings);
        Execute("BEGIN");
        if (mode == Store::Mode::Create) {
            // A table with row numbers, because parts of a blob are reached by them.
            Execute("CREATE TABLE streams (name TEXT PRIMARY KEY, data BLOB)");
        }
        insert_ = Prepare("INSERT OR REPLACE INTO streams (name, data) VALUES (?1, ?2)");
        find_ = Prepare("SELECT rowid FROM streams WHERE name = ?1");
        list_ = Prepare("SELECT name FROM streams");
    }

    void Commit() {
        idle_.reset();
        Execute("COMMIT");
    }

    /// Inserts `size` bytes from `data`, or zeros where that is null, and returns the row.
    sqlite3_int64 Insert(const std::string& name, std::uint64_t size, const char* data) {
        sqlite3_stmt* const insert = insert_.get();
        RequireOk(data != nullptr ? sqlite3_bind_blob64(insert, 2, data, size, SQLITE_STATIC)
                                  : sqlite3_bind_zeroblob64(insert, 2, size),
                  "bind a stream");
        BindName(insert, name);
        const int result = sqlite3_step(insert);
        sqlite3_reset(insert);
        Require(result == SQLITE_DONE, "insert a stream");
        return sqlite3_last_insert_rowid(database_.get());
    }
    sqlite3_int64 FindRow(const std::string& name) {
        BindName(find_.get(), name);
        const bool found = sqlite3_step(find_.get()) == SQLITE_ROW;
        const sqlite3_int64 row = found ? sqlite3_column_int64(find_.get(), 0) : 0;
        sqlite3_reset(find_.get());
        Require(found, "find a stream");
        return row;
    }
    void List(const std::function<void(const char* name)>& visit) {
        int result = sqlite3_step(list_.get());
        for (; result == SQLITE_ROW; result = sqlite3_step(list_.get())) {
            const void* const name = sqlite3_column_text(list_.get(), 0);
            visit(static_cast<const char*>(name));
        }
        sqlite3_reset(list_.get());
        Require(result == SQLITE_DONE, "list");
    }

    /// Moves an idle handle to the row if there is one, which is much cheaper than a new handle.
    Blob TakeBlob(sqlite3_int64 row) {
        if (idle_) {
            RequireOk(sqlite3_blob_reopen(idle_.get(), row), "reopen a blob");
            return std::move(idle_);
        }
        sqlite3_blob* blob = nullptr;
        RequireOk(sqlite3_blob_open(database_.get(), "main", "streams", "data", row,
                                    writable_ ? 1 : 0, &blob),
                  "open a blob");
        return Blob(blob);
    }
    void GiveBack(Blob blob) { idle_ = std::move(blob); }

private:
    void Execute(const char* text) {
        RequireOk(sqlite3_exec(database_.get(), text, nullptr, nullptr, nullptr), text);
    }
    Statement Prepare(const char* text) {
        sqlite3_stmt* statement = nullptr;
        RequireOk(sqlite3_prepare_v3(database_.get(), text, -1, SQLITE_PREPARE_PERSISTENT,
                                     &statement, nullptr),
                  text);
        return Statement(statement);
    }
    static void BindName(sqlite3_stmt* statement, const std::string& name) {
        RequireOk(
            sqlite3_bind_text64(statement, 1, name.data(), name.size(), SQLITE_STATIC, SQLITE_UTF8),
            "bind a name");
    }

    const bool writable_;
    const Database database_;
    Statement insert_;
    Statement find_;
    Statement list_;
    Blob idle_;
};

class WholeWriter : public Store::Writer {
public:
    WholeWriter(Transaction& transaction, std::string name, std::uint64_t size)
        : transaction_(transaction), name_(std::move(name)) {
        data_.reserve(size);
    }

    void Write(const char* bytes, std::size_t count) override { data_.append(bytes, count); }
    void Close() override { transaction_.Insert(name_, data_.size(), data_.data()); }

private:
    Transaction& transaction_;
    const std::string name_;
    std::string data_;
};

/// Writes over zeros of the stream's size.
class PieceWriter : public Store::Writer {
public:
    PieceWriter(Transaction& transaction, const std::string& name, std::uint64_t size)
        : transaction_(transaction),
          blob_(transaction.TakeBlob(transaction.Insert(name, size, nullptr))) {}

    void Write(const char* bytes, std::size_t count) override {
        RequireOk(sqlite3_blob_write(blob_.get(), bytes, ToInt(count), ToInt(position_)), "write");
        position_ += count;
    }
    void Close() override { transaction_.GiveBack(std::move(blob_)); }

private:
    Transaction& transaction_;
    Blob blob_;
    std::uint64_t position_ = 0;
};

class BlobReader : public Store::Reader {
public:
    BlobReader(Transaction& transaction, const std::string& name)
        : transaction_(transaction), blob_(transaction.TakeBlob(transaction.FindRow(name))) {}
    ~BlobReader() override { transaction_.GiveBack(std::move(blob_)); }
    BlobReader(const BlobReader&) = delete;
    BlobReader& operator=(const BlobReader&) = delete;

    void Read(char* bytes, std::size_t count) override {
        ReadAt(position_, bytes, count);
        position_ += count;
    }
    void ReadAt(std::uint64_t offset, char* bytes, std::size_t count) override {
        RequireOk(sqlite3_blob_read(blob_.get(), bytes, ToInt(count), ToInt(offset)), "read");
    }

private:
    Transaction& transaction_;
    Blob blob_;
    std::uint64_t position_ = 0;
};

class SqliteStore : public Store {
public:
    explicit SqliteStore(const char* settings) : settings_(settings) {}

    void Open(const std::string& path, Mode mode) override {
        transaction_ = std::make_unique<Transaction>(path, mode, settings_);
    }
    void Close() override {
        transaction_->Commit();
        transaction_.reset();
    }

    std::unique_ptr<Writer> Write(const std::string& name, std::uint64_t size) override {
        if (size <= kMaxBoundSize) {
            return std::make_unique<WholeWriter>(*transaction_, name, size);
        }
        return std::make_unique<PieceWriter>(*transaction_, name, size);
    }
    std::unique_ptr<Reader> Find(const std::string& name) override {
        return std::make_unique<BlobReader>(*transaction_, name);
    }
    void List(const std::function<void(const char* name)>& visit) override {
        transaction_->List(visit);
    }

private:
    const char* const settings_;
    std::unique_ptr<Transaction> transaction_;
};

std::string Version() {
    return sqlite3_libversion();
}

} // namespace

Contender SqliteContender() {
    return {"SQLite", Version,
            []() -> std::unique_ptr<Store> { return std::make_unique<SqliteStore>(""); }};
}

Contender SqliteUnsafeContender() {
    return {"SQLite unsafe", Version, []() -> std::unique_ptr<Store> {
                return std::make_unique<SqliteStore>(
                    "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF");
            }};
}
