// SPDX-License-Identifier: MIT
// tallywick-demo: simulated agents that give the desktop manager something to show.
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <string>

#include <tallywick/link/ChildProcess.h>
#include <tallywick/link/GuardedMain.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/model/TallywickVersion.h>

#include <tallywick/demo/DemoOptions.h>
#include <tallywick/demo/DemoRunner.h>

using namespace tallywick;

namespace {

int run(int argc, char** argv) {
    auto parsed = DemoOptions::parse({argv + 1, argv + argc});
    if (!parsed) {
        std::cerr << "tallywick-demo: " << parsed.error() << "\n" << DemoOptions::usage();
        return 2;
    }
    const auto& options = *parsed;
    switch (options.action) {
        case DemoOptions::Action::help:
            std::cout << DemoOptions::usage() << "\n"
                      << runtimeDirectoryHelp(options.runtimeDirectory.value_or(runtimeDirectoryPath()));
            return 0;
        case DemoOptions::Action::version:
            std::cout << "tallywick-demo " << TallywickVersion::displayString << "\n";
            return 0;
        case DemoOptions::Action::run: break;
    }

    const std::string bridge =
        options.bridgePath.empty() ? ChildProcess::siblingExecutable("tallywick-bridge") : options.bridgePath;
    if (::access(bridge.c_str(), X_OK) != 0 || std::filesystem::is_directory(bridge)) {
        std::cerr << "tallywick-demo: no tallywick-bridge at " << bridge
                  << " (build it, or name it with --bridge PATH)\n";
        return 1;
    }

    // Signals arrive as a readable descriptor in the poll loop; the bridges unblock them again.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGHUP);
    ::sigprocmask(SIG_BLOCK, &stopSignals, nullptr);
    const int stopFd = ::signalfd(-1, &stopSignals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (stopFd < 0) {
        std::perror("tallywick-demo: signalfd");
        return 1;
    }
    std::cout.setf(std::ios::unitbuf);  // each line at once, also into a pipe

    DemoRunner runner(options, bridge, stopFd);
    switch (runner.run()) {
        case DemoRunner::Ending::finished:
        case DemoRunner::Ending::stopped: return 0;
        case DemoRunner::Ending::hostMissing:
            std::cerr << "tallywick-demo: " << runner.problem()
                      << " (runtime folder: " << options.runtimeDirectory.value_or(runtimeDirectoryPath())
                      << "); start tallywick-host first\n";
            return 1;
        case DemoRunner::Ending::handshakeRefused:
        case DemoRunner::Ending::bridgeFailed:
            std::cerr << "tallywick-demo: " << runner.problem() << "\n";
            return 1;
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    return guardedMain("tallywick-demo", [&] { return run(argc, argv); });
}
