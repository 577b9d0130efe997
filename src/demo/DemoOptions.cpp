// SPDX-License-Identifier: MIT
#include <tallywick/demo/DemoOptions.h>

#include <charconv>
#include <cmath>

#include <tallywick/link/OptionParser.h>

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

Result<DemoOptions, std::string> DemoOptions::parse(const std::vector<std::string>& arguments) {
    auto read =
        OptionParser({.flags = {"verbose"}, .valued = {"agents", "duration", "runtime-dir", "bridge"}})
            .parse(arguments);
    if (!read) return fail(std::move(read).error());
    const auto& parsed = *read;
    DemoOptions options;
    if (parsed.help || parsed.version) {
        options.action = parsed.help ? Action::help : Action::version;
        return options;
    }
    options.verbose = parsed.flags.contains("verbose");
    const auto value = [&parsed](const char* name) -> const std::string* {
        const auto found = parsed.values.find(name);
        return found == parsed.values.end() ? nullptr : &found->second;
    };
    if (const auto* agents = value("agents")) {
        const auto count = readCount(*agents);
        if (!count || *count < 1 || *count > maximumAgents) {
            return fail("--agents must be a whole number from 1 to " + std::to_string(maximumAgents));
        }
        options.agents = *count;
    }
    if (const auto* duration = value("duration")) {
        const auto seconds = readSeconds(*duration);
        // A year is far beyond any demo and keeps the deadline arithmetic in range.
        if (!seconds || *seconds <= 0 || *seconds > 366.0 * 24 * 3600) {
            return fail(std::string("--duration must be a number of seconds above 0"));
        }
        options.durationSeconds = *seconds;
    }
    if (const auto* runtime = value("runtime-dir")) options.runtimeDirectory = *runtime;
    if (const auto* bridge = value("bridge")) options.bridgePath = *bridge;
    return options;
}

}  // namespace tallywick
