// SPDX-License-Identifier: MIT
#include <tallywick/host/Database.h>

#include <sqlite3.h>
#include <sys/stat.h>

#include <utility>

namespace tallywick {

namespace {

DatabaseError lastError(sqlite3* handle) {
    if (!handle) return {"out of memory"};
    return {sqlite3_errmsg(handle), (sqlite3_errcode(handle) & 0xff) == SQLITE_FULL};
}

}  // namespace

// Statement

Statement::Statement(Statement&& other) noexcept
    : database_(std::exchange(other.database_, nullptr)),
      statement_(std::exchange(other.statement_, nullptr)),
      bindResult_(std::exchange(other.bindResult_, 0)) {}

Statement& Statement::operator=(Statement&& other) noexcept {
    if (this != &other) {
        sqlite3_finalize(statement_);
        database_ = std::exchange(other.database_, nullptr);
        statement_ = std::exchange(other.statement_, nullptr);
        bindResult_ = std::exchange(other.bindResult_, 0);
    }
    return *this;
}

Statement::~Statement() {
    sqlite3_finalize(statement_);
}

Statement& Statement::bind(int index, std::int64_t value) {
    if (statement_ && bindResult_ == SQLITE_OK) bindResult_ = sqlite3_bind_int64(statement_, index, value);
    return *this;
}

Statement& Statement::bind(int index, std::string_view value) {
    // SQLITE_TRANSIENT: SQLite copies the text, so temporaries may be bound.
    if (statement_ && bindResult_ == SQLITE_OK) {
        bindResult_ =
            sqlite3_bind_text64(statement_, index, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    return *this;
}

Statement& Statement::bind(int index, std::nullopt_t) {
    if (statement_ && bindResult_ == SQLITE_OK) bindResult_ = sqlite3_bind_null(statement_, index);
    return *this;
}

Result<bool, DatabaseError> Statement::step() {
    if (!statement_) return false;
    if (bindResult_ != SQLITE_OK) return fail(DatabaseError{sqlite3_errstr(bindResult_)});
    switch (sqlite3_step(statement_)) {
        case SQLITE_ROW: return true;
        case SQLITE_DONE: return false;
        default: return fail(lastError(database_));
    }
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

std::string_view Statement::textView(int column) const {
    // The text first, then its length: the documented order for reading both.
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    if (!text) return {};
    return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::optional<std::string> Statement::optionalText(int column) const {
    if (isNull(column)) return std::nullopt;
    return text(column);
}

// Database

Result<std::unique_ptr<Database>, DatabaseError> Database::openReadOnly(const std::string& path) {
    sqlite3* handle = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
    if (result != SQLITE_OK) {
        DatabaseError error = handle ? lastError(handle) : DatabaseError{sqlite3_errstr(result)};
        sqlite3_close(handle);
        return fail(std::move(error));
    }
    return std::unique_ptr<Database>(new Database(handle, path));
}

void Database::setCheckpointOnClose(bool allowed) {
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, allowed ? 0 : 1, nullptr);
}

Result<std::unique_ptr<Database>, DatabaseError> Database::open(const std::string& path) {
    sqlite3* handle = nullptr;
    const int result =
        sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    if (result != SQLITE_OK) {
        DatabaseError error = handle ? lastError(handle) : DatabaseError{sqlite3_errstr(result)};
        sqlite3_close(handle);
        return fail(std::move(error));
    }
    return std::unique_ptr<Database>(new Database(handle, path));
}

Database::Database(sqlite3* handle, std::string path) : handle_(handle), path_(std::move(path)) {
    // The file SQLite opened a moment ago; a stat is all a later check costs.
    struct stat info {};
    if (::stat(path_.c_str(), &info) == 0) {
        device_ = info.st_dev;
        inode_ = info.st_ino;
    }
}

bool Database::stillAtItsPath() const {
    struct stat info {};
    return ::stat(path_.c_str(), &info) == 0 && info.st_dev == device_ && info.st_ino == inode_;
}

Database::~Database() {
    sqlite3_close_v2(handle_);
}

Result<Statement, DatabaseError> Database::prepare(std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle_, sql.data(), static_cast<int>(sql.size()), &statement, nullptr) !=
        SQLITE_OK) {
        sqlite3_finalize(statement);
        return fail(lastError(handle_));
    }
    return Statement(handle_, statement);
}

Result<void, DatabaseError> Database::execute(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return {};
    DatabaseError error = lastError(handle_);
    if (message) error.message = message;
    sqlite3_free(message);
    return fail(std::move(error));
}

std::int64_t Database::lastInsertId() const {
    return sqlite3_last_insert_rowid(handle_);
}

int Database::changes() const {
    return sqlite3_changes(handle_);
}

bool Database::inTransaction() const {
    return sqlite3_get_autocommit(handle_) == 0;
}

// Transaction

Transaction::Transaction(Database& database, Mode mode) : database_(database) {
    keep(database_.execute(mode == Mode::immediate ? "BEGIN IMMEDIATE" : "BEGIN"));
    open_ = !failure_;
}

Transaction::~Transaction() {
    // SQLite rolls back by itself after some failures (a full disk, for one),
    // and a second rollback would only fail.
    if (open_ && database_.inTransaction()) (void)database_.execute("ROLLBACK");
}

Statement Transaction::prepare(std::string_view sql) {
    if (failure_) return {};
    auto prepared = database_.prepare(sql);
    if (!prepared) {
        failure_ = std::move(prepared).error();
        return {};
    }
    return std::move(prepared).value();
}

bool Transaction::next(Statement& statement) {
    if (failure_) return false;
    auto stepped = statement.step();
    if (!stepped) {
        failure_ = std::move(stepped).error();
        return false;
    }
    return *stepped;
}

bool Transaction::script(const std::string& sql) {
    if (!failure_) keep(database_.execute(sql));
    return !failure_;
}

Result<void, DatabaseError> Transaction::commit() {
    if (failure_) return fail(*failure_);
    keep(database_.execute("COMMIT"));
    if (failure_) return fail(*failure_);
    open_ = false;
    return {};
}

void Transaction::keep(Result<void, DatabaseError> executed) {
    if (!executed) failure_ = std::move(executed).error();
}

}  // namespace tallywick
