// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>

#include <tallywick/host/Outcome.h>

namespace tallywick {

// The value of an outcome the test expects to succeed; a failure fails the
// test and gives an empty value, so the test goes on safely.
template <class T>
T ok(Outcome<T> outcome) {
    if (auto* failure = std::get_if<Failure>(&outcome)) {
        ADD_FAILURE() << failure->reason;
        return T{};
    }
    return std::get<T>(std::move(outcome));
}

template <class T>
std::string reason(const Outcome<T>& outcome) {
    auto* failure = std::get_if<Failure>(&outcome);
    return failure ? failure->reason : "(succeeded)";
}

}  // namespace tallywick
