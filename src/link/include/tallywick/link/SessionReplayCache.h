// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tallywick {

// Keeps the two lines that make an agent's session what it is: its latest
// "initialize" request and the call that logs it in (the latest successful
// login as sent, or a login built from a successful sign-up). A relay sends
// them again, first, over a new connection to the host. Every operation may
// be called from any thread; JSON is read outside the one lock, which guards
// only the two lines. The cached key lives only inside the login line, in memory.
class SessionReplayCache {
public:
    static constexpr std::string_view kReplayLoginId = "tlw-replay-login";

    void observeRequest(std::string_view line);
    void observeResponse(std::string_view request, std::optional<std::string_view> reply);
    // The cached lines, initialize first, minus any exactly equal to `excluding`.
    std::vector<std::string> replayLines(std::string_view excluding) const;
    bool canReestablish() const;

private:
    struct Summary {
        std::string method;
        std::optional<std::string> name;  // params.name, when a string
        bool hasArguments = false;        // params.arguments is an object
        std::optional<std::string> key;   // params.arguments.key, when a string
    };

    static std::optional<Summary> summarize(std::string_view line);
    static bool replySucceeded(std::string_view reply);
    static std::optional<std::string> accountId(std::string_view fromReply);
    static std::optional<std::string> makeLoginLine(std::string_view accountId, std::string_view key);

    mutable std::mutex lock_;
    std::optional<std::string> initializeLine_;
    std::optional<std::string> loginLine_;
};

}  // namespace tallywick
