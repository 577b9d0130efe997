// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include <tallywick/model/BalanceHistory.h>
#include <tallywick/model/LedgerEntry.h>

namespace tallywick {

// The account's balance over time as a line, with its lowest and highest
// balance, the first and last date, and the balance now marked at the end.
// Above zero it is drawn in the credit colour, below in the debit colour.
class BalanceChart : public QWidget {
    Q_OBJECT

public:
    explicit BalanceChart(QWidget* parent = nullptr);

    // The ledger to draw, under the same terms as LedgerItemModel::setEntries.
    // It is read at once while the chart shows, else when it next shows: a
    // hidden chart costs a long ledger nothing.
    void setEntries(const std::vector<LedgerEntry>& entries, std::function<bool()> stillValid = {});
    // What is drawn; brought up to date first if the chart waits to read.
    const BalanceHistory& history();

    // Where the line is drawn: the balance labels to its left, the dates
    // below, the balance now to its right.
    QRectF plotArea() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void readEntries();
    void describe();
    // Columns of device pixels across the plot: one slice of the history each.
    std::size_t columns() const;
    const std::vector<BalanceHistory::Sample>& samples();
    QPointF place(const QRectF& plot, double position, std::int64_t balance) const;
    QString axisDate(bool last) const;

    const std::vector<LedgerEntry>* source_ = nullptr;
    std::function<bool()> stillValid_;
    bool unread_ = false;
    BalanceHistory history_;
    // The history thinned for the width last drawn at; redone on a resize only.
    std::vector<BalanceHistory::Sample> samples_;
    std::size_t sampledColumns_ = 0;
};

}  // namespace tallywick
