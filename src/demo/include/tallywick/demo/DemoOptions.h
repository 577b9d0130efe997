// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tallywick/model/Result.h>

namespace tallywick {

// What tallywick-demo was asked to do on its command line.
struct DemoOptions {
    enum class Action { run, version, help };
    Action action = Action::run;
    int agents = 6;
    std::string bridgePath;                       // empty: the bridge beside this program
    std::optional<std::string> runtimeDirectory;  // passed on to every bridge
    std::optional<double> durationSeconds;        // none: until interrupted
    bool verbose = false;                         // the bridges' own diagnostics on stderr

    friend bool operator==(const DemoOptions&, const DemoOptions&) = default;

    static constexpr int maximumAgents = 64;

    // Reads the arguments after the program name; gives a usage error as text.
    static Result<DemoOptions, std::string> parse(const std::vector<std::string>& arguments);
    static const char* usage();
};

}  // namespace tallywick
