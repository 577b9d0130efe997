// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace tallywick {

// Every connection holds a descriptor: raises the soft open-file limit to
// the hard one, and gives how many connections fit in it, at most `wanted`,
// with room left for the database, the log, the event loop and children.
std::size_t raiseDescriptorLimit(std::size_t wanted);

}  // namespace tallywick
