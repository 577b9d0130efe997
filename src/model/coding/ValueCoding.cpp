// SPDX-License-Identifier: MIT
#include "model/coding/ValueCoding.h"

#include "model/coding/RecordCoding.h"

#include <tallywick/model/SkippableJson.h>

namespace tallywick::coding {
namespace {

// A value the parser could not hold, in a place the record declares.
bool isMarker(std::string_view text) {
    return !text.empty() && text.front() == '\0' && SkippableJson::markerMeaning(text, 0);
}

}  // namespace

bool readValue(Reader& r, Element e, std::string& out) {
    std::string_view text;
    if (e.get(text) != simdjson::SUCCESS || isMarker(text)) return r.typeMismatch("a string", e);
    out.assign(text);
    return true;
}

bool readValue(Reader& r, Element e, std::int64_t& out) {
    if (e.get(out) == simdjson::SUCCESS) return true;
    if (e.is_uint64()) {
        return r.fail(DecodeError::Kind::dataCorrupted, "The number does not fit in a signed 64-bit integer");
    }
    return r.typeMismatch("an integer", e);
}

bool readValue(Reader& r, Element e, bool& out) {
    if (e.get(out) != simdjson::SUCCESS) return r.typeMismatch("a truth value", e);
    return true;
}

bool readValue(Reader& r, Element e, Date& out) {
    std::string_view text;
    if (e.get(text) != simdjson::SUCCESS || isMarker(text)) return r.typeMismatch("a date string", e);
    auto date = parseDate(text, r.recentDate);
    if (!date) {
        return r.fail(DecodeError::Kind::dataCorrupted, "Expected date string to be ISO8601-formatted.");
    }
    out = *date;
    return true;
}

bool readRawText(Reader& r, Element e, std::string_view& out) {
    if (e.get(out) != simdjson::SUCCESS || isMarker(out)) return r.typeMismatch("a string", e);
    return true;
}

bool failInvalidRaw(Reader& r, std::string_view raw) {
    return r.fail(DecodeError::Kind::dataCorrupted,
                  "Cannot initialize from invalid raw value \"" + std::string(raw) + "\"");
}

bool failMissingKey(Reader& r, std::string_view key) {
    return r.fail(DecodeError::Kind::keyNotFound,
                  "No value associated with key \"" + std::string(key) + "\"");
}

bool failDuplicateKey(Reader& r, std::string_view key) {
    r.fail(DecodeError::Kind::dataCorrupted, "The key appears more than once");
    return r.at(key);
}

bool failCaseCount(Reader& r) {
    return r.fail(DecodeError::Kind::typeMismatch, "Invalid number of keys found, expected one.");
}

}  // namespace tallywick::coding
