// SPDX-License-Identifier: MIT
// tallywick-bridge: the stdio relay between an agent's client and the host.
#include <unistd.h>

#include <iostream>
#include <string>

#include <tallywick/link/AgentClientConfig.h>
#include <tallywick/link/ChildProcess.h>
#include <tallywick/link/GuardedMain.h>
#include <tallywick/link/IoThread.h>
#include <tallywick/link/LogLine.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/model/TallywickVersion.h>

#include <tallywick/bridge/BridgeOptions.h>
#include <tallywick/bridge/BridgeSession.h>
#include <tallywick/bridge/LineReader.h>
#include <tallywick/bridge/LineWriter.h>

using namespace tallywick;

namespace {

// One write per message, so lines from the two threads stay whole on stderr.
void logLine(const std::string& message) {
    LogLine::write("tallywick-bridge: ", LogLine::Priority::warning, message);
}

}  // namespace

namespace {

int run(int argc, char** argv) {
    auto parsed = BridgeOptions::parse({argv + 1, argv + argc});
    if (!parsed) {
        std::cerr << "tallywick-bridge: " << parsed.error() << "\n" << BridgeOptions::usage();
        return 2;
    }
    const auto& options = *parsed;
    switch (options.action) {
        case BridgeOptions::Action::help:
            std::cout << BridgeOptions::usage() << "\n"
                      << runtimeDirectoryHelp(options.runtimeDirectory) << "\n"
                      << AgentClientConfig::instructions(ChildProcess::siblingExecutable("tallywick-bridge"));
            return 0;
        case BridgeOptions::Action::version:
            std::cout << "tallywick-bridge " << TallywickVersion::displayString << "\n";
            return 0;
        case BridgeOptions::Action::relay: break;
    }

    LineWriter output(STDOUT_FILENO);
    IoThread io;  // stopped before the output goes
    auto session = BridgeSession::create(io.context(), {options.runtimeDirectory, tallywickHostRequirement()},
                                         output, logLine);
    LineReader input(STDIN_FILENO);
    for (auto item = input.next(); item.kind != LineReader::Item::Kind::end; item = input.next()) {
        if (item.kind == LineReader::Item::Kind::overlong) {
            logLine("skipped a line longer than 4 MiB");
            session->refuseOverlongLine();
        } else {
            session->forward(std::move(item.text));
        }
    }
    session->waitUntilAnswered();
    session->close();
    session.reset();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    return guardedMain("tallywick-bridge", [&] { return run(argc, argv); });
}
