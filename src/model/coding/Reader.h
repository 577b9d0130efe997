// SPDX-License-Identifier: MIT
#pragma once

#include <simdjson.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tallywick/model/Date.h>
#include <tallywick/model/DecodeError.h>

namespace tallywick::coding {

using Element = simdjson::dom::element;

// Carries the first failure of one decode. Readers return false on failure;
// each level on the way out adds its key so the error names where it happened.
class Reader {
public:
    bool fail(DecodeError::Kind kind, std::string description) {
        error_.kind = kind;
        error_.description = std::move(description);
        return false;
    }
    bool at(std::string_view key) {
        path_.emplace_back(key);
        return false;
    }
    bool atIndex(std::size_t index) {
        std::string segment = "[";
        segment += std::to_string(index);
        segment += ']';
        path_.push_back(std::move(segment));
        return false;
    }
    DecodeError takeError();

    // Wrong JSON type: names what was wanted and what was found.
    bool typeMismatch(std::string_view expected, Element found);
    // What a value stands for when the parser could not hold it (see
    // SkippableJson); none for any other value.
    static std::optional<std::string> markerIn(Element element);

    RecentDate recentDate;  // makes the next date of the same day cheap

private:
    DecodeError error_;
    std::vector<std::string> path_;
};

std::string_view jsonTypeName(Element element);

// Parses a whole text with this thread's parser. The element stays valid
// until the thread's next parse.
// `padded`: the text is followed by kReadPadding readable bytes, so it is
// read where it lies rather than copied into the parser first.
bool parseDocument(Reader& reader, std::string_view text, bool padded, Element& root);

// Called once a text's elements are no longer used.
void releaseParserAfter(std::size_t textSize);

}  // namespace tallywick::coding
