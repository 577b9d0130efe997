// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tallywick/model/Result.h>

namespace tallywick::ChildProcess {

// How a program run to its end went. exitStatus is -1 when it could not be
// started or did not exit normally.
struct Finished {
    int exitStatus = -1;
    std::string output;  // standard output
    std::string errors;  // standard error

    friend bool operator==(const Finished&, const Finished&) = default;
};

// Runs the program (looked up on PATH) with standard input from /dev/null and
// both outputs captured, and waits for it. Safe to call on any thread.
Finished run(const std::vector<std::string>& arguments);

// The full path of an executable named `name` on PATH, if there is one.
std::optional<std::string> findOnPath(const std::string& name);

// Starts the program (arguments[0], a path) in a session of its own,
// detached from this process: not our child, standard streams on /dev/null,
// no descriptors of ours but `passed`, when given, which it gets as
// descriptor 3. Gives the reason when it could not be started.
Result<void, std::string> spawnDetached(const std::vector<std::string>& arguments, int passed = -1);

// The programs of one build or installation sit side by side: the path of
// `name` in the folder of this process's own executable.
std::string siblingExecutable(const std::string& name);

}  // namespace tallywick::ChildProcess
