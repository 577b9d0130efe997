// SPDX-License-Identifier: MIT
#include <tallywick/model/SkippableJson.h>

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace tallywick::SkippableJson {
namespace {

// The power of ten of a valid JSON number's leading digit (0 for 1.5, -3 for
// 0.002e0, 400 for 1e400), without reading it as a double; saturates.
long decimalExponent(const char* first, const char* last) {
    const char* at = first + (*first == '-');
    long leading = 0;
    bool found = false;
    for (; at < last && *at >= '0' && *at <= '9'; ++at) {
        if (found || *at != '0') {
            found = true;
            leading = std::min(leading + 1, 100'000L);
        }
    }
    long position = leading - 1;
    if (at < last && *at == '.') {
        for (++at; at < last && *at >= '0' && *at <= '9'; ++at) {
            if (!found) {
                --position;
                found = *at != '0';
                position = std::max(position, -100'000L);
            }
        }
    }
    long exponent = 0;
    if (at < last && (*at == 'e' || *at == 'E')) {
        ++at;
        const bool negative = at < last && *at == '-';
        if (at < last && (*at == '+' || *at == '-')) ++at;
        for (; at < last; ++at) exponent = std::min(exponent * 10 + (*at - '0'), 1'000'000L);
        if (negative) exponent = -exponent;
    }
    return position + exponent;
}

// A validating scan of RFC 8259 JSON with an explicit stack (any depth, no
// recursion), writing the tamed copy as it goes.
class Scanner {
public:
    Scanner(std::string_view text, std::size_t maxDepth) : text_(text), maxDepth_(maxDepth) {
        out_.reserve(text.size());
    }

    std::optional<std::string> run() {
        skipSpace();
        if (!value()) return std::nullopt;
        skipSpace();
        if (at_ != text_.size() || !changed_) return std::nullopt;
        return std::move(out_);
    }

private:
    void skipSpace() {
        while (at_ < text_.size() &&
               (text_[at_] == ' ' || text_[at_] == '\t' || text_[at_] == '\n' || text_[at_] == '\r')) {
            ++at_;
        }
    }

    bool literal(std::string_view word) {
        if (text_.substr(at_, word.size()) != word) return false;
        at_ += word.size();
        return true;
    }

    // A string from its opening quote; control characters must be escaped.
    bool string() {
        if (at_ >= text_.size() || text_[at_] != '"') return false;
        for (++at_; at_ < text_.size(); ++at_) {
            const auto c = static_cast<unsigned char>(text_[at_]);
            if (c == '"') {
                ++at_;
                return true;
            }
            if (c < 0x20) return false;
            if (c != '\\') continue;
            if (++at_ >= text_.size()) return false;
            switch (text_[at_]) {
                case '"':
                case '\\':
                case '/':
                case 'b':
                case 'f':
                case 'n':
                case 'r':
                case 't': break;
                case 'u':
                    for (int k = 0; k < 4; ++k) {
                        if (++at_ >= text_.size() || !std::isxdigit(static_cast<unsigned char>(text_[at_])))
                            return false;
                    }
                    break;
                default: return false;
            }
        }
        return false;
    }

    // A number; whether the parser can hold it is told through `fits`.
    bool number(bool& fits) {
        const std::size_t start = at_;
        const auto digits = [this] {
            const std::size_t first = at_;
            while (at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9') ++at_;
            return at_ > first;
        };
        if (at_ < text_.size() && text_[at_] == '-') ++at_;
        if (at_ < text_.size() && text_[at_] == '0') {
            ++at_;
        } else if (!digits()) {
            return false;
        }
        bool integral = true;
        if (at_ < text_.size() && text_[at_] == '.') {
            ++at_;
            integral = false;
            if (!digits()) return false;
        }
        if (at_ < text_.size() && (text_[at_] == 'e' || text_[at_] == 'E')) {
            ++at_;
            integral = false;
            if (at_ < text_.size() && (text_[at_] == '+' || text_[at_] == '-')) ++at_;
            if (!digits()) return false;
        }
        const char* first = text_.data() + start;
        const char* last = text_.data() + at_;
        if (integral) {
            std::int64_t signedValue = 0;
            std::uint64_t unsignedValue = 0;
            fits = std::from_chars(first, last, signedValue).ec == std::errc() ||
                   std::from_chars(first, last, unsignedValue).ec == std::errc();
        } else {
            double value = 0;
            const auto [end, error] = std::from_chars(first, last, value);
            // Too small to tell from zero still reads (as zero); too large does not.
            fits = end == last && (error == std::errc() || (error == std::errc::result_out_of_range &&
                                                            decimalExponent(first, last) < 0));
        }
        return true;
    }

    void emitMarker(std::string_view marker) {
        out_ += "\"\\u0000";
        out_ += marker.substr(1);
        out_ += '"';
        changed_ = true;
    }

    // One value and everything in it. Containers are followed with a stack;
    // one opened past the depth bound is checked to its end and replaced.
    bool value() {
        std::vector<char> open;    // '{' or '[' of each container we are in
        std::size_t skipFrom = 0;  // open.size() at which the current deep value began; 0: none
        bool expectValue = true;
        while (true) {
            skipSpace();
            if (!expectValue && open.empty()) return true;
            if (at_ >= text_.size()) return false;
            if (expectValue) {
                const std::size_t start = at_;
                const char c = text_[at_];
                if (c == '{' || c == '[') {
                    ++at_;
                    open.push_back(c);
                    if (!skipFrom && open.size() > maxDepth_) skipFrom = open.size();
                    skipSpace();
                    if (at_ < text_.size() && text_[at_] == (c == '{' ? '}' : ']')) {
                        ++at_;
                        open.pop_back();
                        // An empty container is complete at once.
                    } else if (c == '{') {
                        if (!key()) return false;
                        if (!skipFrom) out_.append(text_.substr(start, at_ - start));
                        continue;
                    } else {
                        if (!skipFrom) out_.append(text_.substr(start, at_ - start));
                        continue;  // the first element follows
                    }
                } else if (c == '"') {
                    if (!string()) return false;
                } else if (c == 't' || c == 'f' || c == 'n') {
                    if (!literal("true") && !literal("false") && !literal("null")) return false;
                } else {
                    bool fits = true;
                    if (!number(fits)) return false;
                    if (!fits && !skipFrom) {
                        emitMarker(kNumberMarker);
                        expectValue = false;
                        continue;
                    }
                }
                if (!skipFrom) {
                    out_.append(text_.substr(start, at_ - start));
                } else if (skipFrom == open.size() + 1) {
                    // The deep value just ended (it was an empty container).
                    skipFrom = 0;
                    emitMarker(kDepthMarker);
                }
                expectValue = false;
                continue;
            }
            // After a value: a separator, or the end of its container.
            const char c = text_[at_++];
            if (c == ',') {
                if (!skipFrom) out_ += ',';
                if (open.back() == '{') {
                    skipSpace();
                    const std::size_t start = at_;
                    if (!key()) return false;
                    if (!skipFrom) out_.append(text_.substr(start, at_ - start));
                }
                expectValue = true;
            } else if (c == (open.back() == '{' ? '}' : ']')) {
                open.pop_back();
                if (skipFrom == open.size() + 1) {
                    skipFrom = 0;
                    emitMarker(kDepthMarker);
                } else if (!skipFrom) {
                    out_ += c;
                }
            } else {
                return false;
            }
        }
    }

    // A key and its colon, from the key's opening quote.
    bool key() {
        if (!string()) return false;
        skipSpace();
        if (at_ >= text_.size() || text_[at_] != ':') return false;
        ++at_;
        return true;
    }

    std::string_view text_;
    std::size_t maxDepth_;
    std::size_t at_ = 0;
    std::string out_;
    bool changed_ = false;
};

}  // namespace

std::optional<std::string> tame(std::string_view text, std::size_t maxDepth) {
    return Scanner(text, maxDepth).run();
}

std::optional<std::string> markerMeaning(std::string_view text, std::size_t maxDepth) {
    if (text == kNumberMarker) return "The number does not fit in 64 bits";
    if (text == kDepthMarker)
        return "The value is nested deeper than " + std::to_string(maxDepth) + " levels";
    return std::nullopt;
}

}  // namespace tallywick::SkippableJson
