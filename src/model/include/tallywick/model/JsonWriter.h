// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tallywick/model/Date.h>

namespace tallywick {

// Compact JSON output with our wire rules: no whitespace, keys in the order
// written, the solidus escaped, text outside ASCII left as UTF-8. Commas are
// placed automatically. A value that cannot be written (a date out of range,
// text that is not UTF-8) makes finish() give no text at all.
class JsonWriter {
public:
    JsonWriter() = default;
    explicit JsonWriter(std::size_t reserve) { out_.reserve(reserve); }

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(std::string_view name);
    void string(std::string_view text);
    void integer(std::int64_t value);
    void boolean(bool value);
    void null();
    void date(Date value);
    // An already encoded JSON value, copied as it is (the caller vouches for it).
    void rawValue(std::string_view json);
    void markFailed() { failed_ = true; }

    bool failed() const { return failed_; }
    const std::string& text() const { return out_; }
    std::optional<std::string> finish() &&;

private:
    void separate();

    std::string out_;
    bool needComma_ = false;
    bool failed_ = false;
};

// Appends text as a JSON string literal, quotes included.
void appendJsonString(std::string& out, std::string_view text);

bool isValidUtf8(std::string_view bytes);

}  // namespace tallywick
