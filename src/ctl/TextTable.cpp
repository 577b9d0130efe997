// SPDX-License-Identifier: MIT
#include "TextTable.h"

#include <locale.h>
#include <wchar.h>

#include <algorithm>

#include <tallywick/model/EscapedText.h>

namespace tallywick {

namespace {

// Columns a code point takes in a terminal, as the C library's tables for
// UTF-8 say (terminals and their emulators follow the same Unicode widths):
// none for combining marks and joiners, two for wide characters and emoji.
int columnsOf(char32_t c) {
    static const locale_t utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
    if (!utf8) return 1;
    const locale_t previous = ::uselocale(utf8);
    const int width = ::wcwidth(static_cast<wchar_t>(c));
    ::uselocale(previous);
    return width < 0 ? 1 : width;
}

// The columns a line of UTF-8 takes (escaped cells are UTF-8 whatever the data held).
std::size_t columns(const std::string& text) {
    std::size_t total = 0;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t c = length == 1 ? lead : lead & (0x7F >> length);
        for (std::size_t k = 1; k < length && i + k < text.size(); ++k)
            c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        total += static_cast<std::size_t>(columnsOf(c));
        i += length;
    }
    return total;
}

}  // namespace

std::string TextTable::render() const {
    std::vector<std::size_t> widths;
    for (const auto& row : rows_) {
        if (widths.size() < row.size()) widths.resize(row.size(), 0);
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], columns(EscapedText::of(row[i])));
    }
    std::string out;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string cell = EscapedText::of(row[i]);
            line += cell;
            if (i + 1 < row.size()) line += std::string(widths[i] - columns(cell) + 2, ' ');
        }
        out += line + "\n";
    }
    return out;
}

}  // namespace tallywick
