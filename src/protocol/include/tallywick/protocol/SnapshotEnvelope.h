// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include <tallywick/protocol/Snapshot.h>

namespace tallywick {

// The snapshot answer's text around its entries: `head` ends just inside the
// entries array and `tail` begins with its closing bracket, so that a host
// keeping its entries encoded sends head, their comma-separated texts, tail.
struct SnapshotEnvelope {
    std::string head;
    std::string tail;

    friend bool operator==(const SnapshotEnvelope&, const SnapshotEnvelope&) = default;
};

namespace TallywickCoding {

// Written by the same key sets as the whole answer; the state's own entries
// are not written. None when a value cannot be written.
std::optional<SnapshotEnvelope> encodeSnapshotEnvelope(const Snapshot& state);

}  // namespace TallywickCoding
}  // namespace tallywick
