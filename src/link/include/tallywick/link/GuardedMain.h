// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>
#include <unistd.h>

#include <exception>
#include <string>
#include <string_view>

#include <tallywick/link/LogLine.h>

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
    LogLine::write(std::string(program) + ": ", LogLine::Priority::error,
                   "internal error: " + reason + "; please report it with the command that led here");
    return kInternalErrorStatus;
}

}  // namespace tallywick
