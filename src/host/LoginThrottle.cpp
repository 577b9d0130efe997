// SPDX-License-Identifier: MIT
#include <tallywick/host/LoginThrottle.h>

#include <algorithm>

namespace tallywick {

std::chrono::milliseconds LoginThrottle::wait(const std::optional<std::string>& account,
                                              std::uint64_t connection, Clock::time_point now) const {
    Clock::time_point until = now;
    if (const auto found = connections_.find(connection); found != connections_.end())
        until = std::max(until, found->second.until);
    if (account) {
        if (const auto found = accounts_.find(*account); found != accounts_.end())
            until = std::max(until, found->second.until);
    }
    return std::chrono::ceil<std::chrono::milliseconds>(until - now);
}

void LoginThrottle::failed(const std::optional<std::string>& account, std::uint64_t connection,
                           Clock::time_point now) {
    fail(connections_[connection], now);
    if (account) fail(accounts_[*account], now);
}

void LoginThrottle::succeeded(const std::optional<std::string>& account, std::uint64_t connection) {
    connections_.erase(connection);
    if (account) accounts_.erase(*account);
}

void LoginThrottle::forgetConnection(std::uint64_t connection) {
    connections_.erase(connection);
}

void LoginThrottle::fail(State& state, Clock::time_point now) {
    state.failures = std::min(state.failures + 1, 20);  // 100 ms doubled 19 times is far past the cap
    const auto wait =
        std::min<std::chrono::milliseconds>(kFirstWait * (1LL << (state.failures - 1)), kLongestWait);
    state.until = now + wait;
}

}  // namespace tallywick
