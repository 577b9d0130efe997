// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <tallywick/model/Hashing.h>
#include <tallywick/model/WireCodable.h>

namespace tallywick {

// One free-form item of client information; its identity is its key.
struct ClientInfoField {
    std::string key;
    std::string value;

    const std::string& id() const { return key; }

    friend bool operator==(const ClientInfoField&, const ClientInfoField&) = default;
};

template <>
inline constexpr bool isWireCodable<ClientInfoField> = true;

}  // namespace tallywick

template <>
struct std::hash<tallywick::ClientInfoField> {
    std::size_t operator()(const tallywick::ClientInfoField& v) const {
        return tallywick::hashFields(v.key, v.value);
    }
};
