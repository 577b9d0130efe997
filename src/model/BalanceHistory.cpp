// SPDX-License-Identifier: MIT
#include <tallywick/model/BalanceHistory.h>

#include <algorithm>

#include <tallywick/model/Balance.h>

namespace tallywick {
namespace {

using Wide = Balance::Wide;

struct Step {
    Date at;
    std::int64_t sequence;
    std::int64_t change;
};

bool earlier(const Step& a, const Step& b) {
    return a.at != b.at ? a.at < b.at : a.sequence < b.sequence;
}

}  // namespace

BalanceHistory::BalanceHistory(const std::vector<LedgerEntry>& entries) {
    std::vector<Step> steps;
    steps.reserve(entries.size());
    // The host lists a ledger newest first: read backwards, it is nearly
    // always in order already, and checking costs less than sorting.
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
        steps.push_back({entry->createdAt, entry->sequence, entry->signedAmount()});
    if (!std::is_sorted(steps.begin(), steps.end(), earlier))
        std::stable_sort(steps.begin(), steps.end(), earlier);

    points_.reserve(steps.size());
    Balance balance;
    for (const Step& step : steps) {
        balance.apply(step.change);
        points_.push_back({step.at, balance.reported()});
    }
    if (points_.empty()) return;
    const auto [low, high] = std::minmax_element(
        points_.begin(), points_.end(), [](const Point& a, const Point& b) { return a.balance < b.balance; });
    lowest_ = low->balance;
    highest_ = high->balance;
}

std::vector<BalanceHistory::Sample> BalanceHistory::downsampled(std::size_t columns) const {
    std::vector<Sample> out;
    if (points_.empty() || columns == 0) return out;
    const std::size_t count = points_.size();
    // Dates may lie anywhere in 64 bits: their differences are taken wide.
    const Wide start = points_.front().at.time_since_epoch().count();
    const double span = static_cast<double>(Wide{points_.back().at.time_since_epoch().count()} - start);
    const auto position = [&](std::size_t i) {
        if (span > 0)
            return static_cast<double>(Wide{points_[i].at.time_since_epoch().count()} - start) / span;
        return count > 1 ? static_cast<double>(i) / static_cast<double>(count - 1) : 1.0;
    };
    const auto column = [&](double at) {
        return std::min(columns - 1, static_cast<std::size_t>(at * static_cast<double>(columns)));
    };

    out.reserve(std::min(count, 4 * columns));
    std::size_t begin = 0;
    while (begin < count) {
        const std::size_t slice = column(position(begin));
        std::size_t end = begin + 1, low = begin, high = begin;
        for (; end < count && column(position(end)) == slice; ++end) {
            if (points_[end].balance < points_[low].balance) low = end;
            if (points_[end].balance > points_[high].balance) high = end;
        }
        std::size_t kept[] = {begin, low, high, end - 1};
        std::sort(std::begin(kept), std::end(kept));
        for (std::size_t i = 0; i < 4; ++i) {
            if (i > 0 && kept[i] == kept[i - 1]) continue;
            out.push_back({position(kept[i]), points_[kept[i]].balance});
        }
        begin = end;
    }
    return out;
}

}  // namespace tallywick
