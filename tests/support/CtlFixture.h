// SPDX-License-Identifier: MIT
#pragma once
// tallywickctl run as a program against a real host of the test's own.
#include <string>
#include <vector>

#include "support/HostFixture.h"

namespace tallywick::testing {

// ThreadSanitizer slows every start of a program and runs a thread of its
// own from before main, which does not block the stop signals.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TALLYWICK_UNDER_TSAN 1
#endif
#endif
#ifdef TALLYWICK_UNDER_TSAN
constexpr bool kUnderThreadSanitizer = true;
#else
constexpr bool kUnderThreadSanitizer = false;
#endif
// What "at once" allows a whole run of tallywickctl, its start included.
constexpr auto kPromptly = std::chrono::seconds(kUnderThreadSanitizer ? 3 : 1);

class Ctl : public HostFixture {
protected:
    ProgramRun ctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {TALLYWICKCTL_PATH, "--runtime-dir", host_->runtimeDirectory()});
        return runProgram(arguments, folder_);
    }

    // An account made the way agents make them: by showing up.
    std::string agentAccount(const std::string& client) {
        agent()->send(initializeLine(client));
        auto state = control()->snapshot();
        return state && !state->accounts.empty() ? state->accounts.back().id : "";
    }
};

}  // namespace tallywick::testing
