// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <tallywick/model/Result.h>

namespace tallywick {

// What the bridge was asked to do on its command line.
struct BridgeOptions {
    enum class Action { relay, version, help };
    Action action = Action::relay;
    std::string runtimeDirectory;  // resolved: flag, else the environment's runtime folder

    friend bool operator==(const BridgeOptions&, const BridgeOptions&) = default;

    // Reads the arguments after the program name; gives a usage error as text.
    static Result<BridgeOptions, std::string> parse(const std::vector<std::string>& arguments);
    static const char* usage();
};

}  // namespace tallywick
