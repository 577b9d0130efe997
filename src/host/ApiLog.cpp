// SPDX-License-Identifier: MIT
#include <tallywick/host/ApiLog.h>

namespace tallywick {

const ApiLogEntry& ApiLog::record(const Message& message, Date now) {
    if (records_.size() == capacity) records_.pop_front();
    records_.push_back({
        .id = prefix_ + std::to_string(next_++),
        .connectionId = message.connectionId,
        .accountId = message.accountId,
        .clientLabel = message.clientLabel,
        .direction = message.direction,
        .method = message.method,
        .payload = std::string(cutPayload(message.payload)),
        .timestamp = now,
    });
    return records_.back();
}

std::vector<ApiLogEntry> ApiLog::recent(std::size_t count) const {
    std::vector<ApiLogEntry> out;
    out.reserve(std::min(count, records_.size()));
    for (auto it = records_.rbegin(); it != records_.rend() && out.size() < count; ++it) out.push_back(*it);
    return out;
}

std::string_view ApiLog::cutPayload(std::string_view payload, std::size_t limit) {
    if (payload.size() <= limit) return payload;
    std::size_t end = limit;
    // Step back over continuation bytes to the lead byte of the split sequence.
    while (end > 0 && (static_cast<unsigned char>(payload[end]) & 0xC0) == 0x80) --end;
    return payload.substr(0, end);
}

}  // namespace tallywick
