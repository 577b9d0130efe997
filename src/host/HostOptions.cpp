// SPDX-License-Identifier: MIT
#include <tallywick/host/HostOptions.h>

#include <filesystem>
#include <optional>

#include <tallywick/link/HostLocator.h>
#include <tallywick/link/OptionParser.h>
#include <tallywick/link/RuntimeDirectory.h>

namespace tallywick {

const char* HostOptions::usage() {
    return "Usage: tallywick-host [--database PATH] [--runtime-dir DIR] [--log-file PATH]\n"
           "       tallywick-host [--database PATH] --restore-latest-backup\n"
           "       tallywick-host --version | --help\n"
           "\n"
           "The per-user Tallywick host: keeps the agents' ledger and serves the\n"
           "desktop manager, tallywickctl and tallywick-bridge.\n"
           "\n"
           "  --database PATH    the ledger database (default: $TALLYWICK_DATA_DIR/ledger.sqlite3,\n"
           "                     else $XDG_DATA_HOME/tallywick/ledger.sqlite3, else\n"
           "                     ~/.local/share/tallywick/ledger.sqlite3)\n"
           "  --runtime-dir DIR  the folder for the socket and lock\n"
           "  --log-file PATH    write the log to PATH (rotated at 1 MB, 3 copies kept)\n"
           "                     instead of standard error\n"
           "  --report-fd N      write why it cannot serve to descriptor N, or close N\n"
           "                     once it serves (for a client that starts it)\n"
           "  --restore-latest-backup\n"
           "                     put the newest sound backup (backups/ beside the database) in\n"
           "                     the database's place, the replaced file kept aside; the host\n"
           "                     must be stopped\n"
           "  --version          print the version and exit\n"
           "  --help             print this text and exit\n";
}

Result<HostOptions, std::string> HostOptions::parse(const std::vector<std::string>& arguments) {
    auto read = OptionParser({.flags = {"restore-latest-backup"},
                              .valued = {"database", "runtime-dir", "log-file", "report-fd"}})
                    .parse(arguments);
    if (!read) return fail(std::move(read).error());
    const auto& parsed = *read;
    const auto value = [&parsed](const char* name) {
        const auto found = parsed.values.find(name);
        return found == parsed.values.end() ? std::optional<std::string>() : found->second;
    };
    HostOptions options;
    // Help and version still resolve the folders, which help shows.
    options.action = parsed.help                                      ? Action::help
                     : parsed.version                                 ? Action::version
                     : parsed.flags.contains("restore-latest-backup") ? Action::restoreLatestBackup
                                                                      : Action::serve;
    // Absolute, as its lock's and its runtime folder's records name it.
    std::error_code ignored;
    options.databasePath =
        std::filesystem::absolute(value("database").value_or(HostLocator::defaultDatabasePath()), ignored)
            .lexically_normal()
            .string();
    options.runtimeDirectory = value("runtime-dir").value_or(runtimeDirectoryPath());
    options.logFile = value("log-file").value_or("");
    if (const auto fd = value("report-fd")) {
        if (fd->empty() || fd->size() > 4 || fd->find_first_not_of("0123456789") != std::string::npos)
            return fail("--report-fd takes a descriptor number, not '" + *fd + "'");
        options.reportFd = std::stoi(*fd);
    }
    return options;
}

}  // namespace tallywick
