// SPDX-License-Identifier: MIT
#pragma once
#include <string>
#include <vector>

#include <tallywick/model/Result.h>

namespace tallywick {

// What the host was asked to do on its command line.
struct HostOptions {
    enum class Action { serve, version, help, restoreLatestBackup };
    Action action = Action::serve;
    std::string databasePath;      // resolved: flag, else the data folder
    std::string runtimeDirectory;  // resolved: flag, else the runtime folder
    std::string logFile;           // empty: the log goes to standard error as given
    int reportFd = -1;             // told why it could not serve, closed once it serves

    friend bool operator==(const HostOptions&, const HostOptions&) = default;

    // Reads the arguments after the program name; gives a usage error as text.
    static Result<HostOptions, std::string> parse(const std::vector<std::string>& arguments);

    static const char* usage();
};

}  // namespace tallywick
