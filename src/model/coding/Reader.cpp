// SPDX-License-Identifier: MIT
#include "model/coding/Reader.h"

#include <algorithm>

#include <tallywick/model/SkippableJson.h>
#include <tallywick/model/TallywickCoding.h>

namespace tallywick::coding {

DecodeError Reader::takeError() {
    std::string path;
    for (auto it = path_.rbegin(); it != path_.rend(); ++it) {
        if (!path.empty() && it->front() != '[') path += '.';
        path += *it;
    }
    error_.codingPath = std::move(path);
    path_.clear();
    return std::move(error_);
}

std::string_view jsonTypeName(Element element) {
    switch (element.type()) {
        case simdjson::dom::element_type::ARRAY: return "an array";
        case simdjson::dom::element_type::OBJECT: return "an object";
        case simdjson::dom::element_type::INT64:
        case simdjson::dom::element_type::UINT64: return "an integer";
        case simdjson::dom::element_type::DOUBLE: return "a number with a fraction or exponent";
        case simdjson::dom::element_type::STRING: return "a string";
        case simdjson::dom::element_type::BOOL: return "a truth value";
        case simdjson::dom::element_type::NULL_VALUE: return "null";
    }
    return "an unknown value";
}

bool Reader::typeMismatch(std::string_view expected, Element found) {
    if (auto marker = markerIn(found)) return fail(DecodeError::Kind::dataCorrupted, *marker);
    if (found.is_null()) {
        return fail(DecodeError::Kind::valueNotFound,
                    "Expected " + std::string(expected) + " but found null");
    }
    return fail(DecodeError::Kind::typeMismatch,
                "Expected " + std::string(expected) + " but found " + std::string(jsonTypeName(found)));
}

std::optional<std::string> Reader::markerIn(Element element) {
    std::string_view text;
    if (element.get(text) != simdjson::SUCCESS || text.empty() || text.front() != '\0') return std::nullopt;
    return SkippableJson::markerMeaning(text, TallywickCoding::decoder().maxDepth - 1);
}

namespace {

simdjson::dom::parser makeParser() {
    const auto& config = TallywickCoding::decoder();
    simdjson::dom::parser parser(config.maxCapacity);
    // Should this fail, the first parse reports it as a capacity error.
    const auto allocated = parser.allocate(simdjson::SIMDJSON_PADDING, config.maxDepth);
    (void)allocated;
    return parser;
}

// One parser per thread, kept for reuse: its buffers grow to the largest
// text the thread has read and are never shared.
simdjson::dom::parser& threadParser() {
    thread_local simdjson::dom::parser parser = makeParser();
    return parser;
}

}  // namespace

void releaseParserAfter(std::size_t textSize) {
    // The buffers are about fifteen times the text; past this size they are
    // given back rather than kept for the thread's next text.
    if (textSize > TallywickCoding::decoder().retainedCapacity) threadParser() = makeParser();
}

static_assert(TallywickCoding::kReadPadding >= simdjson::SIMDJSON_PADDING);

bool parseDocument(Reader& reader, std::string_view text, bool padded, Element& root) {
    if (text.empty()) return reader.fail(DecodeError::Kind::notJson, "The text is empty");
    auto error = threadParser().parse(text.data(), text.size(), !padded).get(root);
    // Valid JSON the parser cannot hold fails only if the decoder reads it.
    if (error == simdjson::NUMBER_ERROR || error == simdjson::NUMBER_OUT_OF_RANGE ||
        error == simdjson::DEPTH_ERROR) {
        if (simdjson::validate_utf8(text.data(), text.size())) {
            if (const auto tamed = SkippableJson::tame(text, TallywickCoding::decoder().maxDepth - 1))
                error = threadParser().parse(tamed->data(), tamed->size(), true).get(root);
        }
    }
    if (error != simdjson::SUCCESS) {
        return reader.fail(DecodeError::Kind::notJson,
                           std::string("The text is not valid JSON: ") + simdjson::error_message(error));
    }
    return true;
}

}  // namespace tallywick::coding
