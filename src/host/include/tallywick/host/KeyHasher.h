// SPDX-License-Identifier: MIT
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace tallywick {

// Agent keys are kept only as Argon2id hashes in libsodium's self-describing
// string form (parameters and salt included), so a later change of cost
// still verifies old hashes.
class KeyHasher {
public:
    // Initialises libsodium once; safe from any thread.
    KeyHasher();

    // None when libsodium cannot hash (out of memory).
    std::optional<std::string> hash(std::string_view key) const;
    // False for a wrong key and for a hash that is not one of ours.
    bool verify(const std::string& hash, std::string_view key) const;
};

}  // namespace tallywick
