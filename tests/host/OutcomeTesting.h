// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include <tallywick/host/Outcome.h>

namespace tallywick {

// The value of an outcome the test expects to succeed; a failure fails the
// test and gives an empty value, so the test goes on safely.
template <class T>
T ok(Outcome<T> outcome) {
    if (!outcome) ADD_FAILURE() << outcome.error().reason;
    if constexpr (!std::is_void_v<T>) return outcome ? std::move(outcome).value() : T{};
}

template <class T>
std::string reason(const Outcome<T>& outcome) {
    return outcome ? "(succeeded)" : outcome.error().reason;
}

}  // namespace tallywick
