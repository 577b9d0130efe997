// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tallywick {

// Where the host listens and what it must be.
struct ControlEndpoint {
    std::string path;
    std::string hostRequirement;

    static ControlEndpoint standard();  // the runtime folder's socket, this build's host requirement
};

}  // namespace tallywick
