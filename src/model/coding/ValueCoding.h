// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <tallywick/model/Date.h>
#include <tallywick/model/Enumeration.h>
#include <tallywick/model/JsonWriter.h>

#include "model/coding/Reader.h"

namespace tallywick::coding {

// Reading and writing of the leaf values: text, integers, truth values, dates,
// raw-text enumerations, lists and optionals. Records and one-key enumerations
// plug in through RecordCoding.h.

bool readValue(Reader& r, Element e, std::string& out);
bool readValue(Reader& r, Element e, std::int64_t& out);
bool readValue(Reader& r, Element e, bool& out);
bool readValue(Reader& r, Element e, Date& out);
bool readRawText(Reader& r, Element e, std::string_view& out);
bool failInvalidRaw(Reader& r, std::string_view raw);

template <RawTextEnum E>
bool readValue(Reader& r, Element e, E& out) {
    std::string_view raw;
    if (!readRawText(r, e, raw)) return false;
    auto value = fromRawValue<E>(raw);
    if (!value) return failInvalidRaw(r, raw);
    out = *value;
    return true;
}

inline void writeValue(JsonWriter& w, const std::string& v) {
    w.string(v);
}
inline void writeValue(JsonWriter& w, std::int64_t v) {
    w.integer(v);
}
inline void writeValue(JsonWriter& w, bool v) {
    w.boolean(v);
}
inline void writeValue(JsonWriter& w, Date v) {
    w.date(v);
}

template <RawTextEnum E>
void writeValue(JsonWriter& w, E v) {
    w.string(rawValue(v));
}

}  // namespace tallywick::coding
