// SPDX-License-Identifier: MIT
#pragma once
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tallywick/core.h>

namespace tallywick {

// The host's memory of agent traffic: the last `capacity` records, each
// payload cut to a size that stays cheap to push to every application.
class ApiLog {
public:
    static constexpr std::size_t capacity = 1000;
    static constexpr std::size_t payloadLimit = std::size_t{64} * 1024;

    // `runNumber` keeps identifiers unique across restarts of the host.
    explicit ApiLog(std::uint64_t runNumber) : prefix_("L" + std::to_string(runNumber) + "-") {}

    struct Message {
        std::string connectionId;
        std::optional<std::string> accountId;
        std::optional<std::string> clientLabel;
        Direction direction = Direction::request;
        std::optional<std::string> method;
        std::string_view payload;
    };
    const ApiLogEntry& record(const Message& message, Date now);

    // Newest first, at most `count`.
    std::vector<ApiLogEntry> recent(std::size_t count) const;
    std::size_t size() const { return records_.size(); }

    // The longest prefix of at most `limit` bytes that does not split a
    // UTF-8 sequence, so a cut payload is still valid text.
    static std::string_view cutPayload(std::string_view payload, std::size_t limit = payloadLimit);

private:
    std::string prefix_;
    std::uint64_t next_ = 1;
    std::deque<ApiLogEntry> records_;  // oldest at the front
};

}  // namespace tallywick
