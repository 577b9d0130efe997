// SPDX-License-Identifier: MIT
#pragma once

#include <QPersistentModelIndex>
#include <QStringList>
#include <QStyledItemDelegate>
#include <algorithm>
#include <vector>

namespace tallywick {

// Draws one API log row: the direction badge at the left, and beside it the
// header line over the payload, which shows at most three lines, the third
// cut with an ellipsis when more follows. Works with ApiLogItemModel, whose
// rows keep their measured height for the width they were measured at.
//
// The payload's text can be selected; the list holds the selection here, as
// positions in one row's shown text, and the row draws it.
class ApiLogRowView : public QStyledItemDelegate {
    Q_OBJECT

public:
    static constexpr int maxPayloadLines = 3;
    static constexpr int badgeSpacing = 10;  // between the badge and the text
    static constexpr int lineSpacing = 2;    // between the header line and the payload
    static constexpr int padding = 2;        // above and below the row's content
    static constexpr int inset = 4;          // the list's own margin above and below each row
    static constexpr int sideInset = 12;     // from the list's edges to the content

    struct Geometry {
        QRect badge, header, payload;
    };

    // A payload as a row `rowWidth` wide shows it: wrapped, at most three
    // lines, the last ending in an ellipsis when text is left over; and, for
    // each position of text(), where that character begins in the payload,
    // so that a selection copies what it stands for rather than what is drawn.
    struct Payload {
        QStringList lines;
        QList<qsizetype> lineStarts;     // where each line begins in text()
        std::vector<qsizetype> sources;  // one per position of text(), and one for its end
        bool elided = false;             // text() ends in the ellipsis

        QString text() const { return lines.join(QLatin1Char('\n')); }
        // What positions [from, to) of text() stand for in the whole `payload`:
        // its own characters and line breaks, and through the ellipsis all the rest.
        QString source(const QString& payload, qsizetype from, qsizetype to) const;
    };

    // The selected part of one row's payload: positions in its Payload::text().
    struct Selection {
        QPersistentModelIndex row;
        qsizetype anchor = 0, cursor = 0;

        qsizetype from() const { return std::min(anchor, cursor); }
        qsizetype to() const { return std::max(anchor, cursor); }
        bool isEmpty() const { return !row.isValid() || anchor == cursor; }
    };

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    const Selection& selection() const { return selection_; }
    void setSelection(const Selection& selection) { selection_ = selection; }

    // Where the parts of a row drawn in `row` go, for a payload of `payloadLines` lines.
    static Geometry geometry(const QRect& row, int payloadLines);
    // The height of a row whose payload takes `payloadLines` lines.
    static int rowHeight(int payloadLines);
    // `head` is the payload, or only its head when `cut` says so.
    static Payload payload(const QString& head, bool cut, int rowWidth);
    // The position in `shown`'s text nearest to `point`, for a row drawn in `row`.
    static qsizetype positionAt(const Payload& shown, const QRect& row, QPoint point);
    // Where position `at` of `shown`'s text is drawn: its left edge, halfway down its line.
    static QPoint pointAt(const Payload& shown, const QRect& row, qsizetype at);

private:
    // How many lines the payload takes; quick for the usual short one-liners.
    static int payloadLineCount(const QString& payload, bool cut, int rowWidth);

    Selection selection_;
};

}  // namespace tallywick
