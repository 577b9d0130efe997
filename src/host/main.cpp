// SPDX-License-Identifier: MIT
// tallywick-host: the per-user daemon that owns the ledger.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>

#include <tallywick/link/FileLock.h>
#include <tallywick/link/GuardedMain.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/link/SocketAddress.h>
#include <tallywick/link/StopSignals.h>
#include <tallywick/model/TallywickVersion.h>

#include <tallywick/host/HostLog.h>
#include <tallywick/host/HostOptions.h>
#include <tallywick/host/HostServer.h>
#include <tallywick/host/LedgerBackups.h>

using namespace tallywick;

namespace {

// Never while a host serves the file: its lock says whether one does.
int restoreLatestBackup(const std::string& databasePath) {
    if (auto created = createPrivateFolders(std::filesystem::path(databasePath).parent_path()); !created) {
        std::cerr << "tallywick-host: " << created.error() << "\n";
        return 1;
    }
    auto lock = FileLock::acquire(databasePath + ".lock", "");
    if (!lock) {
        std::cerr << "tallywick-host: "
                  << (lock.error().heldByOther ? "a host is serving " + databasePath +
                                                     "; stop it first (quit it, or systemctl --user stop it)"
                                               : lock.error().reason)
                  << "\n";
        return 1;
    }
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    auto restored = LedgerBackups::restoreNewest(databasePath, now);
    if (!restored) {
        std::cerr << "tallywick-host: " << restored.error().reason << "\n";
        return 1;
    }
    std::cout << "tallywick-host: " << *restored << "\n";
    return 0;
}

int run(int argc, char** argv) {
    const StopSignals stop;  // before any thread starts

    auto parsed = HostOptions::parse({argv + 1, argv + argc});
    if (!parsed) {
        std::cerr << "tallywick-host: " << parsed.error() << "\n" << HostOptions::usage();
        return 2;
    }
    const auto& options = *parsed;
    switch (options.action) {
        case HostOptions::Action::help:
            std::cout << HostOptions::usage() << "\nDatabase: " << options.databasePath << "\n"
                      << runtimeDirectoryHelp(options.runtimeDirectory);
            return 0;
        case HostOptions::Action::version:
            std::cout << "tallywick-host " << TallywickVersion::displayString << "\n";
            return 0;
        case HostOptions::Action::restoreLatestBackup: return restoreLatestBackup(options.databasePath);
        case HostOptions::Action::serve: break;
    }
    if (!options.logFile.empty()) {
        // Without its file the log still goes somewhere: where stderr went.
        if (auto logging = HostLog::toFile(options.logFile); !logging) HostLog::warning(logging.error());
    }

    auto started = HostServer::start({
        .databasePath = options.databasePath,
        .runtimeDirectory = options.runtimeDirectory,
        .callerRequirement = tallywickCallerRequirement(),
    });
    // A client that started us waits on the descriptor: a reason, or its end.
    const auto report = [&options](const std::string& line) {
        if (options.reportFd < 0) return;
        const std::string text = line + "\n";
        [[maybe_unused]] const auto written = ::write(options.reportFd, text.data(), text.size());
        ::close(options.reportFd);
    };
    if (!started) {
        const auto& failure = started.error();
        report(failure.message);
        // The ledger's host serves from another folder and is reached there:
        // clients find it through the ledger, so nothing is wrong.
        if (!failure.servedFrom.empty() && acceptsConnections(endpointPath(failure.servedFrom))) {
            HostLog::notice("the host in " + failure.servedFrom + " serves " + options.databasePath +
                            "; clients find it there");
            return 0;
        }
        if (failure.alreadyRunning)
            HostLog::info(failure.message);
        else
            HostLog::error(failure.message);
        // A second host is not an error: the first one serves.
        return failure.alreadyRunning ? 0 : 1;
    }
    auto& server = *started;
    HostLog::notice("serving " + options.databasePath + " on " + server->endpoint() + " (version " +
                    std::string(TallywickVersion::displayString) + ", runtime folder " +
                    options.runtimeDirectory + ")");
    if (options.reportFd >= 0) ::close(options.reportFd);

    const int signal = stop.wait();
    const bool failed = server->failed();  // it said why already
    if (!failed) HostLog::notice("stopping on signal " + std::to_string(signal));
    server.reset();
    return failed ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    return guardedMain("tallywick-host", [&] { return run(argc, argv); });
}
