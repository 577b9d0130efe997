#pragma once

#include <optional>
#include <string>

namespace tallywick {

// Where the host's socket and lock live: $TALLYWICK_RUNTIME_DIR, else
// $XDG_RUNTIME_DIR/tallywick, else /tmp/tallywick-<uid>.
std::string runtimeDirectoryPath();

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

// The host's socket inside it, named after the service.
std::string endpointPath(const std::string& runtimeDirectory);

}  // namespace tallywick
