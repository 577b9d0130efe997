// SPDX-License-Identifier: MIT
#include "BridgeOptions.h"

#include <optional>

#include <tallywick/RuntimeDirectory.h>

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

std::variant<BridgeOptions, std::string> BridgeOptions::parse(const std::vector<std::string>& arguments) {
    BridgeOptions options;
    std::optional<std::string> runtime;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        // Help and version still resolve the folders, which help shows.
        if (argument == "--help" || argument == "-h") {
            options.action = Action::help;
            continue;
        }
        if (argument == "--version") {
            if (options.action != Action::help) options.action = Action::version;
            continue;
        }
        std::string value;
        if (argument.rfind("--runtime-dir=", 0) == 0) {
            value = argument.substr(14);
        } else if (argument == "--runtime-dir") {
            if (i + 1 >= arguments.size()) return std::string("option '--runtime-dir' needs a value");
            value = arguments[++i];
        } else {
            return "unknown option '" + argument + "'";
        }
        if (value.empty()) return std::string("option '--runtime-dir' needs a value");
        runtime = value;
    }
    options.runtimeDirectory = runtime ? *runtime : runtimeDirectoryPath();
    return options;
}

}  // namespace tallywick
