// SPDX-License-Identifier: MIT
#include "TextTable.h"

#include <algorithm>

namespace tallywick {

namespace {

// Columns a code point takes in a terminal: none for combining marks and
// joiners, two for East Asian wide and full-width characters and emoji.
int columnsOf(char32_t c) {
    struct Range {
        char32_t first, last;
    };
    static constexpr Range none[] = {{0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD},
                                     {0x0610, 0x061A}, {0x064B, 0x065F}, {0x1AB0, 0x1AFF},
                                     {0x1DC0, 0x1DFF}, {0x200B, 0x200F}, {0x20D0, 0x20FF},
                                     {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xE0100, 0xE01EF}};
    static constexpr Range wide[] = {
        {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC},   {0x25FD, 0x25FE},
        {0x2614, 0x2615},   {0x26AA, 0x26AB},   {0x2705, 0x2705},   {0x2E80, 0x303E},   {0x3041, 0x33FF},
        {0x3400, 0x4DBF},   {0x4E00, 0x9FFF},   {0xA000, 0xA4CF},   {0xA960, 0xA97F},   {0xAC00, 0xD7A3},
        {0xF900, 0xFAFF},   {0xFE10, 0xFE19},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
        {0x1F004, 0x1F004}, {0x1F0CF, 0x1F0CF}, {0x1F18E, 0x1F18E}, {0x1F191, 0x1F19A}, {0x1F200, 0x1F2FF},
        {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F7E0, 0x1F7EB}, {0x1F900, 0x1F9FF}, {0x1FA70, 0x1FAFF},
        {0x20000, 0x2FFFD}, {0x30000, 0x3FFFD}};
    const auto in = [c](const auto& ranges) {
        return std::any_of(std::begin(ranges), std::end(ranges),
                           [c](const Range& r) { return c >= r.first && c <= r.last; });
    };
    if (in(none)) return 0;
    return in(wide) ? 2 : 1;
}

// The columns a line of UTF-8 takes (the cells are checked UTF-8 from the host).
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

// A cell stays on one line, whatever the data holds.
std::string oneLine(const std::string& text) {
    std::string out = text;
    std::replace_if(
        out.begin(), out.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    return out;
}

}  // namespace

std::string TextTable::render() const {
    std::vector<std::size_t> widths;
    for (const auto& row : rows_) {
        if (widths.size() < row.size()) widths.resize(row.size(), 0);
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], columns(oneLine(row[i])));
    }
    std::string out;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string cell = oneLine(row[i]);
            line += cell;
            if (i + 1 < row.size()) line += std::string(widths[i] - columns(cell) + 2, ' ');
        }
        out += line + "\n";
    }
    return out;
}

}  // namespace tallywick
