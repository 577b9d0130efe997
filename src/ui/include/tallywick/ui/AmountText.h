// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <string_view>

#include <tallywick/ui/EntryType.h>

// How the entry forms read a typed amount, and when an entry may be added.
namespace tallywick::AmountText {

// An optional single "+" or "-", then one or more ASCII digits, and nothing
// else: no blanks (not even at the ends), separators, decimal points or other
// digit scripts. Values outside the signed 64-bit range are not numbers.
std::optional<std::int64_t> read(std::string_view text);
std::optional<std::int64_t> read(const QString& text);
inline std::optional<std::int64_t> read(const char* text) {
    return read(std::string_view(text));
}

// The amount an entry of this type is sent with: 0 for a note, otherwise the
// number typed, with anything that is not a number, and negatives, as 0.
std::int64_t amountToSend(EntryType type, const QString& amountText);

// A note needs a memo (blanks count); any other type a number above 0.
bool canAdd(EntryType type, const QString& amountText, const QString& memo);

}  // namespace tallywick::AmountText
