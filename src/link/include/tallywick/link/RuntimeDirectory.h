// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace tallywick {

// Where the host's socket and lock live: $TALLYWICK_RUNTIME_DIR, else
// $XDG_RUNTIME_DIR/tallywick, else <runUserRoot>/<uid>/tallywick when that
// user folder is the user's own and private (what the login manager gives
// every session, and what a client that passes a small environment to its
// children leaves out), else /tmp/tallywick-<uid>. Every program resolves
// it this way.
std::string runtimeDirectoryPath(const std::string& runUserRoot = "/run/user");

// The outcome of preparing the folder: its path, or why it must not be used.
struct RuntimeDirectory {
    std::string path;
    std::string problem;  // empty when the folder is safe to use

    bool usable() const { return problem.empty(); }
};

// Creates the folder (mode 0700) when missing, then verifies that it is a
// real folder, not a link, owned by the effective uid, with no group or other
// permission bits. Anything else makes it unusable: nothing listens or
// connects there.
RuntimeDirectory prepareRuntimeDirectory(const std::string& path = runtimeDirectoryPath());

// The same verification of an existing folder, creating nothing: what a
// client does before it connects.
RuntimeDirectory checkRuntimeDirectory(const std::string& path);

// The lines each program's help shows: the folder it resolved and the rule.
std::string runtimeDirectoryHelp(const std::string& resolved);

// The host's socket inside it, named after the service.
std::string endpointPath(const std::string& runtimeDirectory);

}  // namespace tallywick
