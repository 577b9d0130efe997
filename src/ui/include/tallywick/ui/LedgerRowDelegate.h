// SPDX-License-Identifier: MIT
#pragma once

#include <QPersistentModelIndex>
#include <QStyledItemDelegate>

namespace tallywick {

// Draws one ledger row: the type badge, memo and date, the signed amount,
// and the row's two icon buttons (edit, delete), which it also answers:
// hover, press, release on the same button, and their tooltips. The row the
// keyboard is on shows a focus ring; a memo cut short has the whole of it as
// the row's tooltip.
class LedgerRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    enum class Part { none, edit, remove };

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

    // Where the parts of a row drawn in `row` are.
    static QRect editButtonRect(const QRect& row);
    static QRect deleteButtonRect(const QRect& row);
    static QRect badgeRect(const QRect& row);
    // The date and time of an entry as rows show it, in the user's locale.
    static QString dateText(const QDateTime& when);

    // The view reports a press here (presses do not reach delegates); a
    // release on the same button of the same row is a click.
    void press(const QModelIndex& index, const QRect& row, const QPoint& point);
    void clearHover();

signals:
    void editRequested(const QModelIndex& index);
    void deleteRequested(const QModelIndex& index);

private:
    static Part partAt(const QRect& row, const QPoint& point);
    void paintButton(QPainter& painter, const QRect& area, const QModelIndex& index, Part part,
                     const QPalette& palette) const;

    QPersistentModelIndex hoveredRow_;
    Part hoveredPart_ = Part::none;
    QPersistentModelIndex pressedRow_;
    Part pressedPart_ = Part::none;
};

}  // namespace tallywick
