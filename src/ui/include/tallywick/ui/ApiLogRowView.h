// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <QStyledItemDelegate>

namespace tallywick {

// Draws one API log row: the direction badge at the left, and beside it the
// header line over the payload, which shows at most three lines, the third
// cut with an ellipsis when more follows. Works with ApiLogItemModel, whose
// rows keep their measured height for the width they were measured at.
class ApiLogRowView : public QStyledItemDelegate {
    Q_OBJECT

public:
    static constexpr int maxPayloadLines = 3;
    static constexpr int badgeSpacing = 10;  // between the badge and the text
    static constexpr int lineSpacing = 2;    // between the header line and the payload
    static constexpr int padding = 2;        // above and below the row's content
    static constexpr int inset = 4;          // around the content, inside the row's highlight
    static constexpr int sideInset = 12;     // from the list's edges to the content

    struct Geometry {
        QRect badge, header, payload;
    };

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // Where the parts of a row drawn in `row` go, for a payload of `payloadLines` lines.
    static Geometry geometry(const QRect& row, int payloadLines);
    // The height of a row whose payload takes `payloadLines` lines.
    static int rowHeight(int payloadLines);
    // The payload's lines as a row `rowWidth` wide shows them: wrapped, at
    // most three, the last ending in an ellipsis when text is left over
    // (`cut` says the text given is only the payload's head).
    static QStringList payloadLines(const QString& payload, bool cut, int rowWidth);

private:
    // How many lines the payload takes; quick for the usual short one-liners.
    static int payloadLineCount(const QString& payload, bool cut, int rowWidth);
};

}  // namespace tallywick
