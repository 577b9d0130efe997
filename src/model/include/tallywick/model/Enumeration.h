// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace tallywick {

// Each enumeration that travels as its raw text specialises this with
//   static constexpr std::array<std::pair<E, std::string_view>, N> cases;
//   static constexpr bool listsAllCases;
template <class E>
struct EnumTraits;

template <class E>
concept RawTextEnum = requires {
    EnumTraits<E>::cases;
};

template <RawTextEnum E>
constexpr std::string_view rawValue(E value) {
    for (const auto& [item, text] : EnumTraits<E>::cases) {
        if (item == value) return text;
    }
    return {};
}

// Exact, case-sensitive match; anything else is no value.
template <RawTextEnum E>
constexpr std::optional<E> fromRawValue(std::string_view text) {
    for (const auto& [item, raw] : EnumTraits<E>::cases) {
        if (raw == text) return item;
    }
    return std::nullopt;
}

// Every case in declaration order, for the enumerations that offer the list.
template <RawTextEnum E>
requires(EnumTraits<E>::listsAllCases) constexpr auto allCases() {
    constexpr auto& cases = EnumTraits<E>::cases;
    std::array<E, cases.size()> result{};
    for (std::size_t i = 0; i < cases.size(); ++i) result[i] = cases[i].first;
    return result;
}

}  // namespace tallywick
