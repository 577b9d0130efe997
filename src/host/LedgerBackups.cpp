// SPDX-License-Identifier: MIT
#include <tallywick/host/LedgerBackups.h>

#include <sys/stat.h>

#include <algorithm>
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

// Every copy of this database, oldest first (the names sort by time).
std::vector<fs::path> copies(const std::string& databasePath) {
    std::vector<fs::path> found;
    std::error_code error;
    const std::string prefix = prefixFor(databasePath);
    for (const auto& item : fs::directory_iterator(folderFor(databasePath), error)) {
        const std::string name = item.path().filename().string();
        if (name.starts_with(prefix) && name.ends_with(".sqlite3") && item.is_regular_file(error))
            found.push_back(item.path());
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

fs::path folderFor(const std::string& databasePath) {
    return fs::path(databasePath).parent_path() / "backups";
}

std::optional<fs::path> newest(const std::string& databasePath) {
    auto all = copies(databasePath);
    if (all.empty()) return std::nullopt;
    return all.back();
}

bool due(const std::string& databasePath, Date now) {
    const auto last = newest(databasePath);
    if (!last) return true;
    // The name says when it was made.
    return last->filename().string() < prefixFor(databasePath) + stamp(now - std::chrono::hours(24));
}

Result<fs::path, std::string> make(const std::string& databasePath, Date now) {
    const fs::path folder = folderFor(databasePath);
    if (auto created = createPrivateFolders(folder); !created) return fail(std::move(created).error());
    const fs::path target = folder / (prefixFor(databasePath) + stamp(now) + ".sqlite3");
    const fs::path partial = target.string() + ".partial";
    std::error_code ignored;
    // What a host killed mid-copy left behind is no backup.
    for (const auto& item : fs::directory_iterator(folder, ignored))
        if (item.path().filename().string().find(".partial") != std::string::npos)
            fs::remove(item.path(), ignored);
    auto opened = Database::openReadOnly(databasePath);
    if (!opened) return fail("cannot read " + databasePath + ": " + opened.error().message);
    auto& db = **opened;
    // Without the wait a busy file fails the copy, which says so.
    (void)db.execute("PRAGMA busy_timeout = 5000");
    {
        // The copy holds key hashes: private from its first byte.
        const mode_t previous = ::umask(077);
        auto statement = db.prepare("VACUUM INTO ?");
        std::optional<DatabaseError> failed;
        if (!statement)
            failed = statement.error();
        else if (auto stepped = statement->bind(1, partial.string()).step(); !stepped)
            failed = stepped.error();
        ::umask(previous);
        if (failed) {
            fs::remove(partial, ignored);
            return fail("cannot back up " + databasePath + ": " + failed->message);
        }
    }
    // Only a whole copy gets a backup's name.
    std::error_code renamed;
    fs::rename(partial, target, renamed);
    if (renamed) return fail("cannot back up " + databasePath + ": " + renamed.message());
    auto all = copies(databasePath);
    for (std::size_t i = 0; i + kKept < all.size(); ++i) fs::remove(all[i], ignored);
    return target;
}

Outcome<std::string> restoreNewest(const std::string& databasePath, Date now) {
    auto all = copies(databasePath);
    std::optional<fs::path> chosen;
    std::string skipped;
    for (auto copy = all.rbegin(); copy != all.rend() && !chosen; ++copy) {
        if (auto checked = LedgerStore::checkFile(copy->string()); !checked)
            skipped += "; " + copy->string() + " is damaged too (" + checked.error() + ")";
        else
            chosen = *copy;
    }
    if (!chosen) return fail(Failure{"no usable backup in " + folderFor(databasePath).string() + skipped});

    // The file it replaces goes aside with its log, for whoever wants to look.
    const std::string aside = databasePath + ".damaged-" + stamp(now);
    std::error_code error;
    for (const char* suffix : {"", "-wal", "-shm"}) {
        const fs::path from = databasePath + suffix;
        if (!fs::exists(from, error)) continue;
        fs::rename(from, aside + suffix, error);
        if (error) return fail(Failure{"cannot move " + from.string() + " aside: " + error.message()});
    }
    const fs::path partial = databasePath + ".restoring";
    fs::copy_file(*chosen, partial, fs::copy_options::overwrite_existing, error);
    if (!error) ::chmod(partial.c_str(), 0600);
    if (!error) fs::rename(partial, databasePath, error);
    if (error)
        return fail(
            Failure{"cannot copy " + chosen->string() + " to " + databasePath + ": " + error.message()});
    return "Restored " + databasePath + " from " + chosen->string() +
           (fs::exists(aside, error) ? "; the file it replaced is kept as " + aside : std::string()) +
           skipped;
}

}  // namespace tallywick::LedgerBackups
