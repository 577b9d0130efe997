// SPDX-License-Identifier: MIT
#pragma once
#include <string>
#include <variant>

namespace tallywick {

// Why the host refused or could not carry out a change, in words for a person.
struct Failure {
    std::string reason;

    friend bool operator==(const Failure&, const Failure&) = default;
};

// A value, or the reason there is none.
template <class T>
using Outcome = std::variant<T, Failure>;

template <class T>
bool succeeded(const Outcome<T>& outcome) {
    return std::holds_alternative<T>(outcome);
}

}  // namespace tallywick
