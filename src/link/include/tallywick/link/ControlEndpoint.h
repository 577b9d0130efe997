// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

namespace tallywick {

// Where the host listens and what it must be.
struct ControlEndpoint {
    std::string path;
    std::string hostRequirement;
    // When set, asked for the path at each new connection: the host of the
    // ledger may serve from another folder (HostLocator).
    std::function<std::string()> locate{};

    // The runtime folder's socket, or that of the ledger's host wherever it
    // serves; this build's host requirement.
    static ControlEndpoint standard();
};

}  // namespace tallywick
