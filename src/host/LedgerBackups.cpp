// SPDX-License-Identifier: MIT
#include <tallywick/host/LedgerBackups.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <vector>

#include <tallywick/link/FileLock.h>

#include <tallywick/host/Database.h>
#include <tallywick/host/LedgerStore.h>

namespace tallywick::LedgerBackups {

namespace fs = std::filesystem;

namespace {

std::string stamp(Date now) {
    const std::time_t seconds = now.time_since_epoch().count();
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &parts);
    return text;
}

std::string prefixFor(const std::string& databasePath) {
    return fs::path(databasePath).stem().string() + "-";
}

std::string stampOf(const fs::path& copy, const std::string& databasePath) {
    const std::string name = copy.filename().string();
    return name.substr(prefixFor(databasePath).size(), name.size() - prefixFor(databasePath).size() - 8);
}

// A copy stamped after now was made while the clock was ahead: it is older
// than every copy made since, whatever its name says.
bool fromTheFuture(const fs::path& copy, const std::string& databasePath, Date now) {
    return stampOf(copy, databasePath) > stamp(now);
}

// Every copy of this database, oldest first: the names sort by time, and
// the copies stamped in the future come before all others.
std::vector<fs::path> copies(const std::string& databasePath, Date now) {
    std::vector<fs::path> found;
    std::error_code error;
    const std::string prefix = prefixFor(databasePath);
    for (const auto& item : fs::directory_iterator(folderFor(databasePath), error)) {
        const std::string name = item.path().filename().string();
        if (name.starts_with(prefix) && name.ends_with(".sqlite3") && item.is_regular_file(error))
            found.push_back(item.path());
    }
    std::sort(found.begin(), found.end(), [&](const fs::path& a, const fs::path& b) {
        const bool aAhead = fromTheFuture(a, databasePath, now), bAhead = fromTheFuture(b, databasePath, now);
        return aAhead != bAhead ? aAhead : a < b;
    });
    return found;
}

std::string errnoText(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

std::string megabytes(std::uint64_t bytes) {
    return std::to_string((bytes + (1 << 20) - 1) >> 20) + " MB";
}

// Flushes a file or folder to the disk; the errno text when that fails.
Result<void, std::string> flush(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return fail(errnoText("cannot open " + path.string()));
    const bool synced = ::fsync(fd) == 0;
    const int error = errno;
    ::close(fd);
    errno = error;
    if (!synced) return fail(errnoText("cannot write " + path.string() + " to the disk"));
    return {};
}

// Copies `from` into `to`, a new file private to the user, and flushes it.
// On any failure `to` is gone and the reason names the real cause.
Result<void, std::string> copyDurably(const fs::path& from, const fs::path& to) {
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return fail(errnoText("cannot read " + from.string()));
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (out < 0) {
        const auto reason = errnoText("cannot create " + to.string());
        ::close(in);
        return fail(reason);
    }
    std::string reason;
    char buffer[1 << 16];
    for (;;) {
        const ssize_t got = ::read(in, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) reason = errnoText("cannot read " + from.string());
        if (got <= 0) break;
        for (ssize_t written = 0; written < got && reason.empty();) {
            const ssize_t put = ::write(out, buffer + written, static_cast<std::size_t>(got - written));
            if (put < 0 && errno == EINTR) continue;
            if (put < 0) reason = errnoText("cannot write " + to.string());
            written += std::max<ssize_t>(put, 0);
        }
        if (!reason.empty()) break;
    }
    if (reason.empty() && ::fsync(out) != 0)
        reason = errnoText("cannot write " + to.string() + " to the disk");
    ::close(in);
    if (::close(out) != 0 && reason.empty()) reason = errnoText("cannot write " + to.string());
    if (reason.empty()) return {};
    ::unlink(to.c_str());
    return fail(reason);
}

// What a whole copy of the database takes: its pages in use.
std::uint64_t sizeNeeded(Database& db) {
    std::uint64_t values[3]{};
    const char* pragmas[3]{"PRAGMA page_count", "PRAGMA freelist_count", "PRAGMA page_size"};
    for (int i = 0; i < 3; ++i) {
        auto statement = db.prepare(pragmas[i]);
        if (statement && statement->step().value_or(false))
            values[i] = static_cast<std::uint64_t>(statement->integer(0));
    }
    return (values[0] - std::min(values[0], values[1])) * values[2];
}

std::uint64_t spaceLeft(const fs::path& folder) {
    struct statvfs info {};
    if (::statvfs(folder.c_str(), &info) != 0) return 0;
    return static_cast<std::uint64_t>(info.f_bavail) * info.f_frsize;
}

std::string madeWhen(const fs::path& copy, const std::string& databasePath) {
    const std::string text = stampOf(copy, databasePath);  // 20261123T164000Z
    if (text.size() != 16) return "at an unknown time";
    return "made " + text.substr(0, 4) + "-" + text.substr(4, 2) + "-" + text.substr(6, 2) + " " +
           text.substr(9, 2) + ":" + text.substr(11, 2) + ":" + text.substr(13, 2) + " UTC";
}

}  // namespace

fs::path folderFor(const std::string& databasePath) {
    return fs::path(databasePath).parent_path() / "backups";
}

std::optional<fs::path> newest(const std::string& databasePath, Date now) {
    auto all = copies(databasePath, now);
    if (all.empty()) return std::nullopt;
    return all.back();
}

std::optional<fs::path> stampedInTheFuture(const std::string& databasePath, Date now) {
    auto all = copies(databasePath, now);
    if (all.empty() || !fromTheFuture(all.front(), databasePath, now)) return std::nullopt;
    return all.front();
}

bool due(const std::string& databasePath, Date now) {
    const auto last = newest(databasePath, now);
    if (!last || fromTheFuture(*last, databasePath, now)) return true;
    // The name says when it was made.
    return stampOf(*last, databasePath) < stamp(now - std::chrono::hours(24));
}

Result<fs::path, BackupFailure> make(const std::string& databasePath, Date now) {
    const fs::path folder = folderFor(databasePath);
    if (auto created = createPrivateFolders(folder); !created) return fail(BackupFailure{created.error()});
    const fs::path target = folder / (prefixFor(databasePath) + stamp(now) + ".sqlite3");
    const fs::path partial = target.string() + ".partial";
    std::error_code ignored;
    // What a host killed mid-copy left behind is no backup.
    for (const auto& item : fs::directory_iterator(folder, ignored))
        if (item.path().filename().string().find(".partial") != std::string::npos)
            fs::remove(item.path(), ignored);
    // Room for the new copy first: the kept ones plus it must fit.
    auto all = copies(databasePath, now);
    for (std::size_t i = 0; i + kKept - 1 < all.size(); ++i) fs::remove(all[i], ignored);

    auto opened = Database::openReadOnly(databasePath);
    if (!opened) return fail(BackupFailure{"cannot read " + databasePath + ": " + opened.error().message});
    auto& db = **opened;
    // Without the wait a busy file fails the copy, which says so.
    (void)db.execute("PRAGMA busy_timeout = 5000");
    // The copy holds key hashes: private from its first byte.
    const mode_t previous = ::umask(077);
    auto statement = db.prepare("VACUUM INTO ?");
    std::optional<DatabaseError> failed;
    if (!statement)
        failed = statement.error();
    else if (auto stepped = statement->bind(1, partial.string()).step(); !stepped)
        failed = stepped.error();
    ::umask(previous);
    if (!failed) {
        if (auto flushed = flush(partial); !flushed) failed = DatabaseError{flushed.error()};
    }
    if (failed) {
        fs::remove(partial, ignored);
        const std::uint64_t needed = sizeNeeded(db), left = spaceLeft(folder);
        if (failed->diskFull || left < needed)
            return fail(BackupFailure{"no room for a backup of " + databasePath + " in " + folder.string() +
                                          ": it needs about " + megabytes(needed) + ", " + megabytes(left) +
                                          " are free; free some space there",
                                      true});
        return fail(BackupFailure{"cannot back up " + databasePath + ": " + failed->message});
    }
    // Only a whole copy gets a backup's name.
    std::error_code renamed;
    fs::rename(partial, target, renamed);
    if (renamed) {
        fs::remove(partial, ignored);
        return fail(BackupFailure{"cannot back up " + databasePath + ": " + renamed.message()});
    }
    (void)flush(folder);
    return target;
}

Outcome<std::string> restoreNewest(const std::string& databasePath, Date now) {
    auto all = copies(databasePath, now);
    std::optional<fs::path> chosen;
    std::string skipped;
    for (auto copy = all.rbegin(); copy != all.rend() && !chosen; ++copy) {
        if (auto checked = LedgerStore::checkFile(copy->string()); !checked)
            skipped += "; " + copy->string() + " is damaged too (" + checked.error() + ")";
        else
            chosen = *copy;
    }
    if (!chosen) return fail(Failure{"no usable backup in " + folderFor(databasePath).string() + skipped});

    // The replacement is built and checked beside the live file, which stays
    // untouched until one rename puts the new file in its place.
    const fs::path folder = fs::path(databasePath).parent_path();
    const std::string partial = databasePath + ".restoring";
    ::unlink(partial.c_str());  // a killed restore's leftover, never a ledger
    const auto abandon = [&](std::string reason) {
        ::unlink(partial.c_str());
        return fail(Failure{"nothing was changed: " + std::move(reason)});
    };
    if (auto copied = copyDurably(*chosen, partial); !copied) return abandon(copied.error());
    if (auto checked = LedgerStore::checkFile(partial); !checked)
        return abandon("the copy of " + chosen->string() + " does not check out (" + checked.error() + ")");

    // The file it replaces, and its log, stay under a second name: a link
    // costs no space, and the live names are untouched until the rename.
    const std::string aside = databasePath + ".damaged-" + stamp(now);
    std::vector<std::string> linked;
    std::vector<std::string> logs;
    // Undoes the above: the logs back under their names, the links gone.
    const auto unlinkAside = [&] {
        for (const auto& log : logs)
            (void)::link((aside + log.substr(databasePath.size())).c_str(), log.c_str());
        for (const auto& name : linked) ::unlink(name.c_str());
    };
    for (const char* suffix : {"", "-wal", "-shm"}) {
        const std::string from = databasePath + suffix, kept = aside + suffix;
        if (::access(from.c_str(), F_OK) != 0) continue;
        if (::link(from.c_str(), kept.c_str()) != 0) {
            const auto reason = errnoText("cannot keep the replaced file as " + kept);
            unlinkAside();
            return abandon(reason);
        }
        linked.push_back(kept);
        if (*suffix) logs.push_back(from);
    }
    // The old log must not meet the new file; each log is kept aside above.
    for (const auto& log : logs) {
        if (::unlink(log.c_str()) != 0) {
            const auto reason = errnoText("cannot remove " + log);
            unlinkAside();
            return abandon(reason);
        }
    }
    if (::rename(partial.c_str(), databasePath.c_str()) != 0) {
        const auto reason = errnoText("cannot put the copy in place of " + databasePath);
        unlinkAside();
        return abandon(reason);
    }
    (void)flush(folder);
    return "Restored " + databasePath + " from " + chosen->string() + ", " + madeWhen(*chosen, databasePath) +
           (linked.empty() ? std::string() : "; the file it replaced is kept as " + aside) + skipped;
}

}  // namespace tallywick::LedgerBackups
