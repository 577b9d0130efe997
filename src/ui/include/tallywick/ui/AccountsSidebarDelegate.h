// SPDX-License-Identifier: MIT
#pragma once

#include <QStyledItemDelegate>

namespace tallywick {

// Draws the sidebar's rows: section titles, accounts (connection dot, name,
// identity mode, balance) and live connections (status symbol, name, whether
// authenticated). Colours come from the view's palette at paint time. A name
// cut short has the whole of it as its tooltip.
class AccountsSidebarDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

    // Space between the view's edge and a row's highlight, and inside it.
    static constexpr int rowInset = 8;
    static constexpr int contentPadding = 8;

private:
    void paintSection(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintAccount(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintConnection(QPainter& painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const;
};

}  // namespace tallywick
