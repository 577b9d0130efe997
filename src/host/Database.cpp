// SPDX-License-Identifier: MIT
#include <tallywick/host/Database.h>

#include <sqlite3.h>

#include <utility>

namespace tallywick {

namespace {

DatabaseError lastError(sqlite3* handle) {
    return {handle ? sqlite3_errmsg(handle) : "out of memory"};
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

std::variant<bool, DatabaseError> Statement::step() {
    if (!statement_) return false;
    if (bindResult_ != SQLITE_OK) return DatabaseError{sqlite3_errstr(bindResult_)};
    switch (sqlite3_step(statement_)) {
        case SQLITE_ROW: return true;
        case SQLITE_DONE: return false;
        default: return lastError(database_);
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

std::variant<std::unique_ptr<Database>, DatabaseError> Database::openReadOnly(const std::string& path) {
    sqlite3* handle = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
    if (result != SQLITE_OK) {
        DatabaseError error = handle ? lastError(handle) : DatabaseError{sqlite3_errstr(result)};
        sqlite3_close(handle);
        return error;
    }
    return std::unique_ptr<Database>(new Database(handle));
}

void Database::setCheckpointOnClose(bool allowed) {
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, allowed ? 0 : 1, nullptr);
}

std::variant<std::unique_ptr<Database>, DatabaseError> Database::open(const std::string& path) {
    sqlite3* handle = nullptr;
    const int result =
        sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    if (result != SQLITE_OK) {
        DatabaseError error = handle ? lastError(handle) : DatabaseError{sqlite3_errstr(result)};
        sqlite3_close(handle);
        return error;
    }
    return std::unique_ptr<Database>(new Database(handle));
}

Database::~Database() {
    sqlite3_close_v2(handle_);
}

std::variant<Statement, DatabaseError> Database::prepare(std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle_, sql.data(), static_cast<int>(sql.size()), &statement, nullptr) !=
        SQLITE_OK) {
        sqlite3_finalize(statement);
        return lastError(handle_);
    }
    return Statement(handle_, statement);
}

std::optional<DatabaseError> Database::execute(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return std::nullopt;
    DatabaseError error = message ? DatabaseError{message} : lastError(handle_);
    sqlite3_free(message);
    return error;
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
    failure_ = database_.execute(mode == Mode::immediate ? "BEGIN IMMEDIATE" : "BEGIN");
    open_ = !failure_;
}

Transaction::~Transaction() {
    // SQLite rolls back by itself after some failures (a full disk, for one),
    // and a second rollback would only fail.
    if (open_ && database_.inTransaction()) database_.execute("ROLLBACK");
}

Statement Transaction::prepare(std::string_view sql) {
    if (failure_) return {};
    auto prepared = database_.prepare(sql);
    if (auto* error = std::get_if<DatabaseError>(&prepared)) {
        failure_ = std::move(*error);
        return {};
    }
    return std::move(std::get<Statement>(prepared));
}

bool Transaction::next(Statement& statement) {
    if (failure_) return false;
    auto stepped = statement.step();
    if (auto* error = std::get_if<DatabaseError>(&stepped)) {
        failure_ = std::move(*error);
        return false;
    }
    return std::get<bool>(stepped);
}

bool Transaction::script(const std::string& sql) {
    if (!failure_) failure_ = database_.execute(sql);
    return !failure_;
}

std::optional<DatabaseError> Transaction::commit() {
    if (failure_) return failure_;
    failure_ = database_.execute("COMMIT");
    if (!failure_) open_ = false;
    return failure_;
}

}  // namespace tallywick
