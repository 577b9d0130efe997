// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace tallywick {

// What a list model has to announce while its rows change; each call is
// the matching begin/end of QAbstractItemModel for one parent.
struct RowChangeSignals {
    std::function<void(int first, int last)> beginRemove;
    std::function<void()> endRemove;
    std::function<void(int first, int last)> beginInsert;
    std::function<void()> endInsert;
    // Row `from` goes in front of row `to` (to < from).
    std::function<void(int from, int to)> beginMove;
    std::function<void()> endMove;
};

// Brings `rows` into the order of keys of `next` by identity rather than by a
// reset, announcing each step, so that views keep their selection, current
// row and scroll position: rows whose key stays keep their place, new ones are
// inserted (made by `makeRow`), gone ones removed. Content is not compared
// here; afterwards rows[i] has the key of next[i]. The common head and tail
// are matched in one pass; between them, up to `keyedLimit` rows are matched
// key by key (moves included), a larger middle is replaced as a block.
template <class Row, class Next, class RowKey, class NextKey, class MakeRow>
void reshapeRowsByKey(std::vector<Row>& rows, const std::vector<Next>& next, RowKey rowKey, NextKey nextKey,
                      MakeRow makeRow, const RowChangeSignals& signal, std::size_t keyedLimit = 1000) {
    using Key = std::decay_t<decltype(nextKey(next.front()))>;
    const auto at = [](std::size_t i) { return static_cast<int>(i); };
    const auto offset = [](std::size_t i) { return static_cast<std::ptrdiff_t>(i); };
    const std::size_t shorter = std::min(rows.size(), next.size());
    std::size_t head = 0;
    while (head < shorter && rowKey(rows[head]) == nextKey(next[head])) ++head;
    std::size_t tail = 0;
    while (tail < shorter - head &&
           rowKey(rows[rows.size() - 1 - tail]) == nextKey(next[next.size() - 1 - tail]))
        ++tail;
    const std::size_t oldMiddle = rows.size() - tail - head;
    const std::size_t newMiddle = next.size() - tail - head;

    if (oldMiddle > 0 && newMiddle > 0 && oldMiddle <= keyedLimit && newMiddle <= keyedLimit) {
        // Keep as many old rows of each key as the new middle wants; the rest go.
        std::unordered_map<Key, std::size_t> wanted;
        for (std::size_t i = head; i < head + newMiddle; ++i) ++wanted[nextKey(next[i])];
        std::vector<bool> goes(oldMiddle, false);
        for (std::size_t i = 0; i < oldMiddle; ++i) {
            auto found = wanted.find(rowKey(rows[head + i]));
            if (found != wanted.end() && found->second > 0) {
                --found->second;
            } else {
                goes[i] = true;
            }
        }
        for (std::size_t end = oldMiddle; end > 0;) {
            if (!goes[end - 1]) {
                --end;
                continue;
            }
            std::size_t first = end - 1;
            while (first > 0 && goes[first - 1]) --first;
            signal.beginRemove(at(head + first), at(head + end - 1));
            rows.erase(rows.begin() + offset(head + first), rows.begin() + offset(head + end));
            signal.endRemove();
            end = first;
        }
        // What is left is part of the new middle; bring it into order, filling gaps.
        for (std::size_t i = head; i < head + newMiddle; ++i) {
            const std::size_t leftEnd = rows.size() - tail;
            if (i < leftEnd && rowKey(rows[i]) == nextKey(next[i])) continue;
            std::size_t from = i + 1;
            while (from < leftEnd && !(rowKey(rows[from]) == nextKey(next[i]))) ++from;
            if (from < leftEnd) {
                signal.beginMove(at(from), at(i));
                std::rotate(rows.begin() + offset(i), rows.begin() + offset(from),
                            rows.begin() + offset(from + 1));
                signal.endMove();
            } else {
                signal.beginInsert(at(i), at(i));
                rows.insert(rows.begin() + offset(i), makeRow(next[i]));
                signal.endInsert();
            }
        }
        return;
    }
    if (oldMiddle > 0) {
        signal.beginRemove(at(head), at(head + oldMiddle - 1));
        rows.erase(rows.begin() + offset(head), rows.begin() + offset(head + oldMiddle));
        signal.endRemove();
    }
    if (newMiddle > 0) {
        signal.beginInsert(at(head), at(head + newMiddle - 1));
        std::vector<Row> made;
        made.reserve(newMiddle);
        for (std::size_t i = head; i < head + newMiddle; ++i) made.push_back(makeRow(next[i]));
        rows.insert(rows.begin() + offset(head), std::make_move_iterator(made.begin()),
                    std::make_move_iterator(made.end()));
        signal.endInsert();
    }
}

// After reshaping: takes over the content of rows that changed and reports
// them in runs through `changed(first, last)`.
template <class Row>
void takeChangedRows(std::vector<Row>& rows, const std::vector<Row>& next,
                     const std::function<void(int first, int last)>& changed) {
    for (std::size_t i = 0; i < rows.size() && i < next.size();) {
        if (rows[i] == next[i]) {
            ++i;
            continue;
        }
        const std::size_t first = i;
        while (i < rows.size() && !(rows[i] == next[i])) {
            rows[i] = next[i];
            ++i;
        }
        changed(static_cast<int>(first), static_cast<int>(i - 1));
    }
}

}  // namespace tallywick
