// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>
#include <unistd.h>

#include <exception>
#include <string>
#include <string_view>

namespace tallywick {

// Status of a program ended by an internal error (sysexits' EX_SOFTWARE).
inline constexpr int kInternalErrorStatus = 70;

// Runs a program's body. An exception that escapes it (a defect, or a
// machine out of memory or threads) ends the program with one line on
// stderr and status 70, never with an abort and a core dump. A reader that
// goes away (a closed terminal, an agent that stops reading) makes a write
// fail with EPIPE instead of killing the program; children get the default
// back (ChildProcess).
template <class Body>
int guardedMain(std::string_view program, Body&& body) noexcept {
    ::signal(SIGPIPE, SIG_IGN);
    std::string reason;
    try {
        return body();
    } catch (const std::exception& error) {
        reason = error.what();
    } catch (...) {
        reason = "an unknown exception";
    }
    const std::string line = std::string(program) + ": internal error: " + reason +
                             "; please report it with the command that led here\n";
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
    return kInternalErrorStatus;
}

}  // namespace tallywick
