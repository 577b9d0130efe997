// SPDX-License-Identifier: MIT
#pragma once
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tallywick {

// What the host offers agents, as the constant JSON results of the
// handshake and of the listing requests.
namespace McpCatalog {

// Newest first; an agent asking for another revision gets the newest.
inline constexpr std::array<std::string_view, 4> revisions{"2025-11-25", "2025-06-18", "2025-03-26",
                                                           "2024-11-05"};
std::string_view negotiate(std::string_view requested);

std::string initializeResult(std::string_view revision);
// {"tools":[…]}: names, input schemas and output schemas of the four tools.
const std::string& toolsListResult();

// {"resources":[…]}: the bound account's history, or nothing when unbound.
std::string resourcesListResult(const std::optional<std::string>& accountId);
const std::string& resourceTemplatesResult();

// Compact form of a JSON text; empty when it is not JSON.
std::string compact(std::string_view json);

}  // namespace McpCatalog
}  // namespace tallywick
