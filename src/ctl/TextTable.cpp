#include "TextTable.h"

#include <algorithm>

namespace tallywick {

namespace {

std::size_t characters(const std::string& text) {
    return std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
}

// A cell stays on one line, whatever the data holds.
std::string oneLine(const std::string& text) {
    std::string out = text;
    std::replace_if(out.begin(), out.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    return out;
}

}  // namespace

std::string TextTable::render() const {
    std::vector<std::size_t> widths;
    for (const auto& row : rows_) {
        if (widths.size() < row.size()) widths.resize(row.size(), 0);
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], characters(oneLine(row[i])));
    }
    std::string out;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string cell = oneLine(row[i]);
            line += cell;
            if (i + 1 < row.size()) line += std::string(widths[i] - characters(cell) + 2, ' ');
        }
        out += line + "\n";
    }
    return out;
}

}  // namespace tallywick
