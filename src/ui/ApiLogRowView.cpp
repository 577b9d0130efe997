// SPDX-License-Identifier: MIT
#include <tallywick/ui/ApiLogRowView.h>

#include <QAbstractItemView>
#include <QFontInfo>
#include <QFontMetrics>
#include <QPainter>
#include <QTextCharFormat>
#include <QTextLayout>
#include <QtMath>
#include <algorithm>
#include <utility>
#include <vector>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/ApiLogHeaderLine.h>
#include <tallywick/ui/ApiLogItemModel.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/DirectionBadge.h>

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

bool isIsolationMark(QChar c) {
    const QChar::Direction direction = c.direction();
    return direction == QChar::DirFSI || direction == QChar::DirLRI || direction == QChar::DirRLI ||
           direction == QChar::DirPDI;
}

int payloadLineHeight() {
    static const int height = QFontMetrics(AppStyle::monospacedSmall()).lineSpacing();
    return height;
}

// One payload line as it is drawn: isolated, laid out on its own, and for
// each of its positions the matching one of the drawn text.
class DrawnLine {
public:
    explicit DrawnLine(const QString& line) : layout_(DataText::isolated(line), AppStyle::monospacedSmall()) {
        // The isolation adds marks and leaves out a stray closing one; the rest is the line's own.
        const QString drawn = layout_.text();
        qsizetype j = 0;
        at_.reserve(static_cast<std::size_t>(line.size()) + 1);
        for (const QChar c : line) {
            while (j < drawn.size() && drawn[j] != c && isIsolationMark(drawn[j])) ++j;
            at_.push_back(j);
            if (j < drawn.size() && drawn[j] == c) ++j;
        }
        at_.push_back(j);
        QTextOption option(Qt::AlignLeft);
        option.setTextDirection(Qt::LeftToRight);
        option.setWrapMode(QTextOption::NoWrap);
        layout_.setTextOption(option);
        layout_.beginLayout();
        line_ = layout_.createLine();
        line_.setNumColumns(static_cast<int>(drawn.size()));
        layout_.endLayout();
    }

    qreal x(qsizetype at) const {
        return line_.cursorToX(static_cast<int>(at_[static_cast<std::size_t>(at)]));
    }
    qsizetype positionAt(qreal x) const {
        const int drawn = line_.xToCursor(x);
        return std::lower_bound(at_.begin(), at_.end(), drawn) - at_.begin();
    }
    // Drawn with the painter's pen, positions [from, to) of the line as selected text.
    void draw(QPainter& painter, const QRect& box, qsizetype from, qsizetype to, const QPalette& palette) {
        QList<QTextLayout::FormatRange> selected;
        if (from < to) {
            QTextCharFormat format;
            format.setBackground(palette.brush(QPalette::Highlight));
            format.setForeground(palette.brush(QPalette::HighlightedText));
            const qsizetype start = at_[static_cast<std::size_t>(from)];
            selected.append({static_cast<int>(start),
                             static_cast<int>(at_[static_cast<std::size_t>(to)] - start), format});
        }
        layout_.draw(&painter, QPointF(box.left(), box.top() + (box.height() - line_.height()) / 2),
                     selected);
    }

private:
    QTextLayout layout_;
    QTextLine line_;
    std::vector<qsizetype> at_;
};

// The line's box in the payload's area.
QRect lineBox(const QRect& payload, qsizetype line) {
    const int height = payloadLineHeight();
    return {payload.left(), payload.top() + static_cast<int>(line) * height, payload.width(), height};
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
                         lines * payloadLineHeight()),
    };
}

int ApiLogRowView::rowHeight(int payloadLines) {
    const int lines = std::clamp(payloadLines, 1, maxPayloadLines);
    return 2 * (inset + padding) + ApiLogHeaderLine::height() + lineSpacing + lines * payloadLineHeight();
}

QString ApiLogRowView::Payload::source(const QString& payload, qsizetype from, qsizetype to) const {
    const auto size = static_cast<qsizetype>(sources.size()) - 1;
    from = std::clamp<qsizetype>(from, 0, size);
    to = std::clamp<qsizetype>(to, from, size);
    const qsizetype begin = sources[static_cast<std::size_t>(from)];
    const qsizetype end = elided && to == size ? payload.size() : sources[static_cast<std::size_t>(to)];
    return payload.mid(begin, end - begin);
}

ApiLogRowView::Payload ApiLogRowView::payload(const QString& head, bool cut, int rowWidth) {
    const QFont font = AppStyle::monospacedSmall();
    const int width = textWidth(rowWidth);
    // Three lines hold no more characters than this, as no glyph is under 3 pixels wide.
    const qsizetype enough = 3 * (width / 3 + 1) + 1;
    // Elided whole, not in the parts Qt would read U+009C to divide it into.
    const QString taken = DataText::withoutVariantSeparators(QStringView(head).left(enough));
    // Laid out with each line break as one separator; `from` keeps where each character came from.
    QString text;
    std::vector<qsizetype> from;
    text.reserve(taken.size());
    from.reserve(static_cast<std::size_t>(taken.size()) + 1);
    for (qsizetype i = 0; i < taken.size(); ++i) {
        from.push_back(i);
        const bool crlf =
            taken[i] == QLatin1Char('\r') && i + 1 < taken.size() && taken[i + 1] == QLatin1Char('\n');
        text += isLineBreak(taken[i]) ? QChar(QChar::LineSeparator) : taken[i];
        if (crlf) ++i;
    }
    from.push_back(taken.size());

    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    std::vector<std::pair<qsizetype, qsizetype>> spans;  // each line's start in `text` and its length
    qsizetype end = 0;
    while (spans.size() < maxPayloadLines) {
        QTextLine line = layout.createLine();
        if (!line.isValid()) break;
        line.setLineWidth(width);
        qsizetype length = line.textLength();
        while (length > 0 && isLineBreak(text[line.textStart() + length - 1])) --length;
        spans.emplace_back(line.textStart(), length);
        end = line.textStart() + line.textLength();
    }
    layout.endLayout();
    if (spans.empty()) spans.emplace_back(0, 0);

    Payload shown;
    shown.elided = cut || taken.size() < head.size() || end < text.size();
    if (shown.elided) {
        // The last line shown ends in an ellipsis, cut back as far as it needs.
        auto& [start, length] = spans.back();
        const QString fitted =
            QFontMetrics(font).elidedText(text.mid(start, length) + QChar(0x2026), Qt::ElideRight, width);
        qsizetype kept = 0;
        while (kept < length && kept + 1 < fitted.size() && fitted[kept] == text[start + kept]) ++kept;
        length = kept;
    }
    qsizetype position = 0;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const auto [start, length] = spans[i];
        if (i > 0) {
            // The break between two lines stands for whatever the payload had there.
            const auto [previous, previousLength] = spans[i - 1];
            shown.sources.push_back(from[static_cast<std::size_t>(previous + previousLength)]);
            ++position;
        }
        shown.lineStarts << position;
        QString line = text.mid(start, length);
        for (qsizetype k = 0; k < length; ++k)
            shown.sources.push_back(from[static_cast<std::size_t>(start + k)]);
        if (shown.elided && i + 1 == spans.size()) line += QChar(0x2026);
        position += line.size();
        shown.lines << line;
    }
    // After the last line: where the ellipsis begins, else the end. Through
    // the ellipsis, the end is the payload's own, which source() knows.
    const auto [lastStart, lastLength] = spans.back();
    shown.sources.push_back(from[static_cast<std::size_t>(lastStart + lastLength)]);
    if (shown.elided) shown.sources.push_back(shown.sources.back());
    return shown;
}

qsizetype ApiLogRowView::positionAt(const Payload& shown, const QRect& row, QPoint point) {
    const QRect area = geometry(row, static_cast<int>(shown.lines.size())).payload;
    const qsizetype line =
        std::clamp<qsizetype>((point.y() - area.top()) / payloadLineHeight(), 0, shown.lines.size() - 1);
    // Above the first line is its start, below the last its end.
    if (point.y() < area.top()) return 0;
    if (point.y() > area.bottom()) return static_cast<qsizetype>(shown.sources.size()) - 1;
    const DrawnLine drawn(shown.lines[line]);
    return shown.lineStarts[line] + drawn.positionAt(point.x() - area.left());
}

QPoint ApiLogRowView::pointAt(const Payload& shown, const QRect& row, qsizetype at) {
    const QRect area = geometry(row, static_cast<int>(shown.lines.size())).payload;
    qsizetype line = 0;
    while (line + 1 < shown.lineStarts.size() && shown.lineStarts[line + 1] <= at) ++line;
    const DrawnLine drawn(shown.lines[line]);
    const qsizetype within = std::clamp<qsizetype>(at - shown.lineStarts[line], 0, shown.lines[line].size());
    return {area.left() + qRound(drawn.x(within)), lineBox(area, line).center().y()};
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
    return static_cast<int>(ApiLogRowView::payload(payload, cut, rowWidth).lines.size());
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
    QPalette palette = option.palette;
    palette.setColor(QPalette::WindowText, palette.color(QPalette::Text));

    const Payload shown = payload(row->shownPayload, row->payloadCut, option.rect.width());
    const Geometry parts = geometry(option.rect, static_cast<int>(shown.lines.size()));
    DirectionBadge::paint(*painter, parts.badge, row->entry.direction, palette);
    ApiLogHeaderLine::paint(*painter, parts.header, row->entry, palette);

    const bool selected = !selection_.isEmpty() && selection_.row == index;
    painter->setFont(AppStyle::monospacedSmall());
    painter->setPen(AppStyle::foreground(palette, AppStyle::Foreground::secondary));
    for (qsizetype i = 0; i < shown.lines.size(); ++i) {
        const qsizetype start = shown.lineStarts[i], length = shown.lines[i].size();
        const qsizetype from = selected ? std::clamp(selection_.from() - start, qsizetype{0}, length) : 0;
        const qsizetype to = selected ? std::clamp(selection_.to() - start, qsizetype{0}, length) : 0;
        DrawnLine(shown.lines[i]).draw(*painter, lineBox(parts.payload, i), from, to, palette);
    }
    painter->restore();
}

}  // namespace tallywick
