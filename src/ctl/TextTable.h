// SPDX-License-Identifier: MIT
#pragma once
#include <string>
#include <vector>

namespace tallywick {

// Columns aligned for a terminal: each cell on one line with its control and
// bidi characters escaped (EscapedText), padded to its column's widest cell
// as shown, counted in terminal columns (wide characters take two, combining
// marks none) so that names in any script line up.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> header) : rows_{std::move(header)} {}
    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
    std::string render() const;

private:
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace tallywick
