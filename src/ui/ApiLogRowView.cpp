// SPDX-License-Identifier: MIT
#include <tallywick/ui/ApiLogRowView.h>

#include <QAbstractItemView>
#include <QFontInfo>
#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>
#include <QtMath>
#include <algorithm>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/ApiLogHeaderLine.h>
#include <tallywick/ui/ApiLogItemModel.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/DirectionBadge.h>
#include <tallywick/ui/SymbolIcons.h>

namespace tallywick {
namespace {

int textWidth(int rowWidth) {
    return std::max(
        1, rowWidth - 2 * ApiLogRowView::sideInset - DirectionBadge::width - ApiLogRowView::badgeSpacing);
}

int rowWidthFor(const QStyleOptionViewItem& option) {
    // List views ask for sizes without a width; the row spans the viewport.
    if (const auto* view = qobject_cast<const QAbstractItemView*>(option.widget))
        return view->viewport()->width();
    return option.rect.width();
}

bool isLineBreak(QChar c) {
    return c == QLatin1Char('\n') || c == QLatin1Char('\r') || c == QChar::LineSeparator ||
           c == QChar::ParagraphSeparator;
}

}  // namespace

ApiLogRowView::Geometry ApiLogRowView::geometry(const QRect& row, int payloadLines) {
    const QRect content = row.adjusted(sideInset, inset + padding, -sideInset, -(inset + padding));
    const int headerHeight = ApiLogHeaderLine::height();
    const int textLeft = content.left() + DirectionBadge::width + badgeSpacing;
    const int lines = std::clamp(payloadLines, 1, maxPayloadLines);
    return {
        .badge = QRect(content.left(), content.top(), DirectionBadge::width, content.height()),
        .header = QRect(textLeft, content.top(), content.right() - textLeft + 1, headerHeight),
        .payload = QRect(textLeft, content.top() + headerHeight + lineSpacing, content.right() - textLeft + 1,
                         lines * QFontMetrics(AppStyle::monospacedSmall()).lineSpacing()),
    };
}

int ApiLogRowView::rowHeight(int payloadLines) {
    const int lines = std::clamp(payloadLines, 1, maxPayloadLines);
    return 2 * (inset + padding) + ApiLogHeaderLine::height() + lineSpacing +
           lines * QFontMetrics(AppStyle::monospacedSmall()).lineSpacing();
}

QStringList ApiLogRowView::payloadLines(const QString& payload, bool cut, int rowWidth) {
    const QFont font = AppStyle::monospacedSmall();
    const int width = textWidth(rowWidth);
    // Three lines hold no more characters than this, as no glyph is under 3 pixels wide.
    const qsizetype enough = 3 * (width / 3 + 1) + 1;
    // Elided whole, not in the parts Qt would read U+009C to divide it into.
    QString text = DataText::withoutVariantSeparators(payload.left(enough));
    const bool shortened = cut || text.size() < payload.size();
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    for (QChar& c : text) {
        if (isLineBreak(c)) c = QChar::LineSeparator;
    }

    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    QStringList lines;
    int end = 0;
    while (lines.size() < maxPayloadLines) {
        QTextLine line = layout.createLine();
        if (!line.isValid()) break;
        line.setLineWidth(width);
        QString shown = text.mid(line.textStart(), line.textLength());
        while (!shown.isEmpty() && isLineBreak(shown.back())) shown.chop(1);
        lines << shown;
        end = line.textStart() + line.textLength();
    }
    layout.endLayout();
    if (lines.isEmpty()) lines << QString();
    if (shortened || end < text.size()) {
        // The last line shown ends in an ellipsis, cut back as far as it needs.
        const QFontMetrics metrics(font);
        lines.back() = metrics.elidedText(lines.back() + QChar(0x2026), Qt::ElideRight, width);
    }
    return lines;
}

int ApiLogRowView::payloadLineCount(const QString& payload, bool cut, int rowWidth) {
    // Counted without laying the text out where that is certain, so that a
    // burst of new rows is measured quickly: two line breaks make three lines.
    int breaks = 0;
    bool plain = true;  // printable ASCII only: every glyph one advance wide in a fixed-pitch font
    for (const QChar c : payload) {
        if (isLineBreak(c) && ++breaks == 2) return maxPayloadLines;
        plain = plain && c.unicode() >= 0x20 && c.unicode() < 0x7f;
    }
    static const QFont font = AppStyle::monospacedSmall();
    static const bool fixedPitch = QFontInfo(font).fixedPitch();
    static const qreal advance = QFontMetricsF(font).horizontalAdvance(QLatin1Char('0'));
    if (fixedPitch && plain && advance >= 1) {
        // Bounds either side of however the glyphs' advances are rounded.
        const qsizetype atMost = textWidth(rowWidth) / qFloor(advance);
        const qsizetype atLeast = textWidth(rowWidth) / qCeil(advance);
        // Wrapping at words only ever takes more lines than wrapping anywhere.
        if (cut || payload.size() > 2 * atMost) return maxPayloadLines;
        if (payload.size() <= atLeast) return 1;
    }
    return static_cast<int>(payloadLines(payload, cut, rowWidth).size());
}

QSize ApiLogRowView::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const auto* items = qobject_cast<const ApiLogItemModel*>(index.model());
    const ApiLogItemModel::Row* row = items ? items->rowAt(index) : nullptr;
    if (!row) return {0, rowHeight(1)};
    const int width = rowWidthFor(option);
    if (row->measuredWidth != width) {
        row->payloadLines = payloadLineCount(row->shownPayload, row->payloadCut, width);
        row->measuredWidth = width;
    }
    return {0, rowHeight(row->payloadLines)};
}

void ApiLogRowView::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
    const auto* items = qobject_cast<const ApiLogItemModel*>(index.model());
    const ApiLogItemModel::Row* row = items ? items->rowAt(index) : nullptr;
    if (!row) return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);

    // A selected row reads in the highlight's text colour on the highlight.
    QPalette palette = option.palette;
    const bool selected = option.state & QStyle::State_Selected;
    if (selected) {
        QPainterPath highlight;
        highlight.addRoundedRect(QRectF(option.rect.adjusted(4, 1, -4, -1)), 6, 6);
        painter->fillPath(highlight, palette.color(QPalette::Highlight));
        palette.setColor(QPalette::WindowText, palette.color(QPalette::HighlightedText));
    } else {
        palette.setColor(QPalette::WindowText, palette.color(QPalette::Text));
    }

    const QStringList lines = payloadLines(row->shownPayload, row->payloadCut, option.rect.width());
    const Geometry parts = geometry(option.rect, static_cast<int>(lines.size()));
    if (selected) {
        SymbolIcons::paint(*painter, DirectionBadge::symbolRect(parts.badge),
                           DirectionBadge::symbolName(row->entry.direction),
                           palette.color(QPalette::HighlightedText));
    } else {
        DirectionBadge::paint(*painter, parts.badge, row->entry.direction, palette);
    }
    ApiLogHeaderLine::paint(*painter, parts.header, row->entry, palette);

    painter->setFont(AppStyle::monospacedSmall());
    painter->setPen(AppStyle::foreground(palette, AppStyle::Foreground::secondary));
    const int lineHeight = QFontMetrics(AppStyle::monospacedSmall()).lineSpacing();
    QRect line(parts.payload.left(), parts.payload.top(), parts.payload.width(), lineHeight);
    for (const QString& text : lines) {
        painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                          DataText::isolated(text));
        line.translate(0, lineHeight);
    }
    painter->restore();
}

}  // namespace tallywick
