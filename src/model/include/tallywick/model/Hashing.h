// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <type_traits>
#include <vector>

namespace tallywick {

// Hash of a value whose std::hash may be one of ours (records, enumerations).
template <class T>
std::size_t hashOf(const T& value);

inline void hashCombine(std::size_t& seed, std::size_t value) {
    seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
}

// Hashes every argument in order, so that equal field lists hash alike.
template <class... Fields>
std::size_t hashFields(const Fields&... fields) {
    std::size_t seed = sizeof...(Fields);
    (hashCombine(seed, hashOf(fields)), ...);
    return seed;
}

template <class T>
std::size_t hashOf(const T& value) {
    if constexpr (std::is_same_v<T, std::chrono::sys_seconds>) {
        return std::hash<long long>{}(value.time_since_epoch().count());
    } else {
        return std::hash<T>{}(value);
    }
}

// An absent value must hash unlike a present empty one, and a list by its elements.
template <class T>
std::size_t hashOf(const std::optional<T>& value) {
    return value ? hashFields(true, *value) : std::size_t{0x51ed27};
}

template <class T>
std::size_t hashOf(const std::vector<T>& values) {
    std::size_t seed = values.size();
    for (const auto& item : values) hashCombine(seed, hashOf(item));
    return seed;
}

template <class E>
struct EnumHash {
    std::size_t operator()(E value) const noexcept {
        return std::hash<std::underlying_type_t<E>>{}(static_cast<std::underlying_type_t<E>>(value));
    }
};

}  // namespace tallywick
