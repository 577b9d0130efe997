// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace tallywick {

// Slows key guessing: each failed login doubles a wait, from 100 ms up to
// 30 s, before the next attempt on the same account or from the same
// connection is checked; a success ends both waits. Only accounts that exist
// are tracked, so made-up identifiers cannot grow the table.
class LoginThrottle {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kFirstWait{100};
    static constexpr std::chrono::milliseconds kLongestWait{30'000};

    // How long an attempt made now must wait; zero when it may go at once.
    std::chrono::milliseconds wait(const std::optional<std::string>& account, std::uint64_t connection,
                                   Clock::time_point now) const;
    void failed(const std::optional<std::string>& account, std::uint64_t connection, Clock::time_point now);
    void succeeded(const std::optional<std::string>& account, std::uint64_t connection);
    void forgetConnection(std::uint64_t connection);

private:
    struct State {
        int failures = 0;
        Clock::time_point until{};
    };
    static void fail(State& state, Clock::time_point now);

    std::map<std::string, State> accounts_;
    std::map<std::uint64_t, State> connections_;
};

}  // namespace tallywick
