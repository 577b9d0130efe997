// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <tallywick/model/Result.h>

struct sqlite3;
struct sqlite3_stmt;

namespace tallywick {

// What SQLite said when something failed.
struct DatabaseError {
    std::string message;
    bool diskFull = false;  // the disk or the file's size limit left no room

    friend bool operator==(const DatabaseError&, const DatabaseError&) = default;
};

// One prepared statement, finalised when dropped. An empty statement (what a
// failed preparation leaves) binds nothing and has no rows.
class Statement {
public:
    Statement() = default;
    Statement(Statement&& other) noexcept;
    Statement& operator=(Statement&& other) noexcept;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    // Parameters count from 1. A binding that fails is reported by the next step.
    Statement& bind(int index, std::int64_t value);
    Statement& bind(int index, std::string_view value);
    Statement& bind(int index, std::nullopt_t);
    template <class T>
    Statement& bind(int index, const std::optional<T>& value) {
        return value ? bind(index, *value) : bind(index, std::nullopt);
    }
    template <class... Values>
    Statement& bindAll(const Values&... values) {
        [[maybe_unused]] int index = 0;
        (bind(++index, values), ...);
        return *this;
    }

    // True when a row is ready to read, false when there are no more.
    Result<bool, DatabaseError> step();

    // Columns count from 0 and are read from the current row.
    bool isNull(int column) const;
    std::int64_t integer(int column) const;
    // Valid until the next step.
    std::string_view textView(int column) const;
    std::string text(int column) const { return std::string(textView(column)); }
    std::optional<std::string> optionalText(int column) const;

private:
    friend class Database;
    Statement(sqlite3* database, sqlite3_stmt* statement) : database_(database), statement_(statement) {}

    sqlite3* database_ = nullptr;
    sqlite3_stmt* statement_ = nullptr;
    int bindResult_ = 0;  // the first failed binding's result code
};

// One connection to an SQLite file, closed when dropped.
class Database {
public:
    // Opens the file, creating it when missing. SQLite reads nothing yet, so a
    // file that is not a database shows only at the first statement.
    static Result<std::unique_ptr<Database>, DatabaseError> open(const std::string& path);
    // Opens an existing file for reading only (":memory:" for a scratch database).
    static Result<std::unique_ptr<Database>, DatabaseError> openReadOnly(const std::string& path);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database();

    Result<Statement, DatabaseError> prepare(std::string_view sql);
    // Runs statements that give no rows; several may be given at once.
    Result<void, DatabaseError> execute(const std::string& sql);

    std::int64_t lastInsertId() const;
    // Rows changed by the most recent insert, update or delete.
    int changes() const;
    bool inTransaction() const;
    // Whether closing the last connection may fold the write-ahead log into
    // the file. Off while a file is still being checked: nothing may be
    // written into a file that could be damaged.
    void setCheckpointOnClose(bool allowed);

    // Whether the file opened is still the file at its path: false once it
    // was deleted, moved away or replaced under us (what is written then
    // would be lost with the last descriptor).
    bool stillAtItsPath() const;
    const std::string& path() const { return path_; }

private:
    Database(sqlite3* handle, std::string path);

    sqlite3* handle_;
    std::string path_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

// Statements that take effect together or not at all: rolled back when
// dropped unless committed. The first failure is kept and every later
// statement skipped, so a sequence of steps reads straight through and still
// stops at the first fault; commit() then reports it.
class Transaction {
public:
    enum class Mode {
        deferred,   // for reading: takes a lock only when needed
        immediate,  // for changing: takes the write lock at once, so it never has to upgrade
    };

    Transaction(Database& database, Mode mode);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();

    // A statement bound to `values`; an empty one once anything has failed.
    template <class... Values>
    Statement query(std::string_view sql, const Values&... values) {
        Statement statement = prepare(sql);
        statement.bindAll(values...);
        return statement;
    }
    // Moves to the next row; false at the end and on failure.
    bool next(Statement& statement);
    // Runs a statement that gives no rows; false on failure.
    template <class... Values>
    bool run(std::string_view sql, const Values&... values) {
        Statement statement = query(sql, values...);
        while (next(statement)) {
        }
        return !failed();
    }
    // Runs several statements that give no rows; false on failure.
    bool script(const std::string& sql);

    std::int64_t lastInsertId() const { return database_.lastInsertId(); }
    int changes() const { return database_.changes(); }

    bool failed() const { return failure_.has_value(); }
    const std::optional<DatabaseError>& failure() const { return failure_; }

    // Commits unless something failed; gives the first failure otherwise.
    Result<void, DatabaseError> commit();

private:
    Statement prepare(std::string_view sql);
    // Keeps the failure of a statement run directly, as the first one.
    void keep(Result<void, DatabaseError> executed);

    Database& database_;
    std::optional<DatabaseError> failure_;
    bool open_ = false;
};

}  // namespace tallywick
