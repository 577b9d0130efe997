// SPDX-License-Identifier: MIT
#pragma once
#include <fstream>
#include <string>

namespace tallywick::bench {

// A memory figure of this process from /proc/self/status, in KiB:
// "VmRSS:" for what it holds now, "VmHWM:" for the most it has held.
inline long processMemoryKiB(const std::string& field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind(field, 0) == 0) return std::stol(line.substr(field.size()));
    return 0;
}

}  // namespace tallywick::bench
