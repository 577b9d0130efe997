// SPDX-License-Identifier: MIT
#include "DemoOptions.h"

#include <charconv>
#include <cmath>

namespace tallywick {

namespace {

std::optional<int> readCount(const std::string& text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<double> readSeconds(const std::string& text) {
    double value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

}  // namespace

const char* DemoOptions::usage() {
    return "Usage: tallywick-demo [--agents N] [--duration SECONDS] [--runtime-dir DIR] [--bridge PATH]\n"
           "                      [--verbose]\n"
           "       tallywick-demo --version | --help\n"
           "\n"
           "Runs a handful of simulated agents against the running Tallywick host, each\n"
           "through its own tallywick-bridge, so that the desktop manager has accounts,\n"
           "connections and API traffic to show. Half are known by their client\n"
           "information, half sign up with a key. One line per action on stdout.\n"
           "\n"
           "  --agents N           how many agents (1 to 64, default 6)\n"
           "  --duration SECONDS   stop after this long (default: until interrupted)\n"
           "  --runtime-dir DIR    where the host's socket is; passed on to the bridges\n"
           "  --bridge PATH        the bridge to run (default: tallywick-bridge beside this program)\n"
           "  --verbose            let the bridges' own diagnostics through to stderr\n"
           "  --version            print the version and exit\n"
           "  --help               print this text and exit\n"
           "\n"
           "Exit status: 0 done, 1 the bridge or the host is missing, 2 usage error.\n";
}

std::variant<DemoOptions, std::string> DemoOptions::parse(const std::vector<std::string>& arguments) {
    DemoOptions options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            options.action = Action::help;
            return options;
        }
        if (argument == "--version") {
            options.action = Action::version;
            return options;
        }
        if (argument == "--verbose") {
            options.verbose = true;
            continue;
        }
        std::string name = argument;
        std::optional<std::string> value;
        if (const auto equals = argument.find('=');
            argument.rfind("--", 0) == 0 && equals != std::string::npos) {
            name = argument.substr(0, equals);
            value = argument.substr(equals + 1);
        }
        if (name != "--agents" && name != "--duration" && name != "--runtime-dir" && name != "--bridge") {
            return "unknown option '" + argument + "'";
        }
        if (!value) {
            if (i + 1 >= arguments.size()) return "option '" + name + "' needs a value";
            value = arguments[++i];
        }
        if (value->empty()) return "option '" + name + "' needs a value";

        if (name == "--agents") {
            const auto count = readCount(*value);
            if (!count || *count < 1 || *count > maximumAgents) {
                return "--agents must be a whole number from 1 to " + std::to_string(maximumAgents);
            }
            options.agents = *count;
        } else if (name == "--duration") {
            const auto seconds = readSeconds(*value);
            // A year is far beyond any demo and keeps the deadline arithmetic in range.
            if (!seconds || *seconds <= 0 || *seconds > 366.0 * 24 * 3600) {
                return std::string("--duration must be a number of seconds above 0");
            }
            options.durationSeconds = *seconds;
        } else if (name == "--runtime-dir") {
            options.runtimeDirectory = *value;
        } else {
            options.bridgePath = *value;
        }
    }
    return options;
}

}  // namespace tallywick
