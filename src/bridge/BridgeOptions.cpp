// SPDX-License-Identifier: MIT
#include <tallywick/bridge/BridgeOptions.h>

#include <tallywick/link/OptionParser.h>
#include <tallywick/link/RuntimeDirectory.h>

namespace tallywick {

const char* BridgeOptions::usage() {
    return "Usage: tallywick-bridge [--runtime-dir DIR]\n"
           "       tallywick-bridge --version | --help\n"
           "\n"
           "Connects an agent's Model Context Protocol client to the Tallywick host:\n"
           "JSON-RPC messages, one a line, on stdin and stdout; logs on stderr.\n"
           "An agent's client starts it as a stdio server. When no host runs, the\n"
           "first request starts one (waiting up to 5 s).\n"
           "\n"
           "  --runtime-dir DIR  where the host's socket is\n"
           "  --version          print the version and exit\n"
           "  --help             print this text and exit\n";
}

Result<BridgeOptions, std::string> BridgeOptions::parse(const std::vector<std::string>& arguments) {
    auto read = OptionParser({.valued = {"runtime-dir"}}).parse(arguments);
    if (!read) return fail(std::move(read).error());
    const auto& parsed = *read;
    BridgeOptions options;
    // Help and version still resolve the folders, which help shows.
    options.action = parsed.help ? Action::help : parsed.version ? Action::version : Action::relay;
    const auto runtime = parsed.values.find("runtime-dir");
    options.runtimeDirectory = runtime != parsed.values.end() ? runtime->second : runtimeDirectoryPath();
    return options;
}

}  // namespace tallywick
