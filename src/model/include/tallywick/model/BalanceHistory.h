// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <tallywick/model/Date.h>
#include <tallywick/model/LedgerEntry.h>

namespace tallywick {

// An account's balance over time: what it had become after each entry. The
// opening credit is an entry like any other and the sum is kept as the host
// keeps it (wide, reported held to 64 bits), so the last point is the
// balance the host reports for the account.
class BalanceHistory {
public:
    struct Point {
        Date at;
        std::int64_t balance;

        friend bool operator==(const Point&, const Point&) = default;
    };

    // A point placed along the chart's time axis, 0 at the first entry and 1
    // at the last.
    struct Sample {
        double position;
        std::int64_t balance;

        friend bool operator==(const Sample&, const Sample&) = default;
    };

    BalanceHistory() = default;
    // The entries in any order; those of one second go by their sequence,
    // the order the host made them in.
    explicit BalanceHistory(const std::vector<LedgerEntry>& entries);

    // Oldest first, one per entry.
    const std::vector<Point>& points() const { return points_; }
    bool empty() const { return points_.empty(); }
    // The lowest and highest balance of all points; 0 when there are none.
    std::int64_t lowest() const { return lowest_; }
    std::int64_t highest() const { return highest_; }

    // The points placed by time, for an axis of `columns` equal slices; when
    // every entry shares one second, by their order instead (a single point
    // sits at 1). Each slice keeps at most its first, lowest, highest and
    // last point, in time order, so the line keeps every spike narrower than
    // a slice while a long ledger costs at most 4 * columns points to draw.
    std::vector<Sample> downsampled(std::size_t columns) const;

private:
    std::vector<Point> points_;
    std::int64_t lowest_ = 0;
    std::int64_t highest_ = 0;
};

}  // namespace tallywick
