// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <tallywick/model/Result.h>

namespace tallywick {

// Why a text did not read. Only diagnostics (tallywickctl, the host's log)
// look at it; the application's decode drops it.
struct DecodeError {
    enum class Kind {
        notJson,        // empty, not UTF-8, malformed or nested too deep
        typeMismatch,   // a value of the wrong JSON type, or not exactly one case key
        keyNotFound,    // a required key is missing
        valueNotFound,  // a required key holds null
        dataCorrupted,  // right type, unacceptable content (range, raw text, date, duplicate key)
    };

    Kind kind = Kind::notJson;
    std::string description;
    std::string codingPath;  // e.g. "snapshot._0.entries[3].sequence"

    friend bool operator==(const DecodeError&, const DecodeError&) = default;
};

template <class T>
using DecodeResult = Result<T, DecodeError>;

}  // namespace tallywick
