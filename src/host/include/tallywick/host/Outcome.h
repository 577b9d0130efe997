// SPDX-License-Identifier: MIT
#pragma once
#include <string>

#include <tallywick/model/Result.h>

namespace tallywick {

// Why the host refused or could not carry out a change, in words for a person.
struct Failure {
    std::string reason;

    friend bool operator==(const Failure&, const Failure&) = default;
};

// A value, or the reason there is none.
template <class T>
using Outcome = Result<T, Failure>;

}  // namespace tallywick
