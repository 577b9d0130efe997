// SPDX-License-Identifier: MIT
#include <tallywick/ui/LedgerRowDelegate.h>

#include <QAbstractItemView>
#include <QDateTime>
#include <QHelpEvent>
#include <QLocale>
#include <QMouseEvent>
#include <QPainter>
#include <QRegularExpression>
#include <QToolTip>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/EntryType.h>
#include <tallywick/ui/LedgerItemModel.h>
#include <tallywick/ui/SymbolIcons.h>

namespace tallywick {
namespace {

using AppStyle::Foreground;
using AppStyle::TextStyle;

constexpr int kRowPadding = 3;       // above and below the row's content
constexpr int kRowInnerPadding = 5;  // the list's own room around each row
constexpr int kSideMargin = 12;      // from the list's edges
constexpr int kSpacing = 12;         // between the row's items
constexpr int kBadgeWidth = 72;
constexpr int kButtonSize = 24;
constexpr int kButtonSpacing = 4;
constexpr int kSymbolSize = 15;

QFont badgeFont() {
    QFont font = AppStyle::font(TextStyle::caption2);
    font.setBold(true);
    return font;
}

int badgeHeight() {
    return QFontMetrics(badgeFont()).height() + 2 * 3;
}

int contentHeight() {
    const int lines = QFontMetrics(AppStyle::font(TextStyle::body)).height() + 2 +
                      QFontMetrics(AppStyle::font(TextStyle::caption2)).height();
    return std::max({lines, badgeHeight(), kButtonSize});
}

// The locale's long date without its weekday and with abbreviated month
// names ("MMM d, yyyy" in the United States), then its time of day.
QString abbreviatedFormat() {
    const QLocale locale;
    QString date = locale.dateFormat(QLocale::LongFormat);
    date.remove(QRegularExpression(QStringLiteral("^d{3,4}[,.]?\\s*")));
    date.remove(QRegularExpression(QStringLiteral("[,.]?\\s*d{3,4}$")));
    date.remove(QRegularExpression(QStringLiteral("d{3,4}[,.]?\\s*")));
    date.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
    // Hours and minutes only, even where the locale's short time has seconds.
    QString time = locale.timeFormat(QLocale::ShortFormat);
    time.remove(QRegularExpression(QStringLiteral("[:.]s{1,2}")));
    return date.trimmed() + QStringLiteral(", ") + time.trimmed();
}

// Where the memo and date go: between the badge and the amount.
QRect textArea(const QRect& row, const QModelIndex& index) {
    const QString amount =
        AppStyle::signedAmountText(index.data(LedgerItemModel::SignedAmountRole).toLongLong());
    const int amountWidth = QFontMetrics(AppStyle::amountFont()).horizontalAdvance(amount);
    const int amountRight = LedgerRowDelegate::editButtonRect(row).left() - kSpacing;
    const int left = LedgerRowDelegate::badgeRect(row).right() + 1 + kSpacing;
    return {left, row.top(), std::max(0, amountRight - amountWidth - kSpacing - left), row.height()};
}

QColor amountColorOf(const QModelIndex& index, const QPalette& palette) {
    // Notes are always dimmed; credits and debits go by the sign.
    if (index.data(LedgerItemModel::KindRole).toInt() == static_cast<int>(TransactionKind::note))
        return AppStyle::noteColor(palette);
    return AppStyle::amountColor(index.data(LedgerItemModel::SignedAmountRole).toLongLong(), palette);
}

}  // namespace

QString LedgerRowDelegate::dateText(const QDateTime& when) {
    static const QString format = abbreviatedFormat();
    return QLocale().toString(when.toLocalTime(), format);
}

QRect LedgerRowDelegate::deleteButtonRect(const QRect& row) {
    return {row.right() - kSideMargin + 4 - kButtonSize + 1, row.center().y() - kButtonSize / 2 + 1,
            kButtonSize, kButtonSize};
}

QRect LedgerRowDelegate::editButtonRect(const QRect& row) {
    return deleteButtonRect(row).translated(-(kButtonSize + kButtonSpacing), 0);
}

QRect LedgerRowDelegate::badgeRect(const QRect& row) {
    const int height = badgeHeight();
    return {row.left() + kSideMargin, row.center().y() - height / 2 + 1, kBadgeWidth, height};
}

LedgerRowDelegate::Part LedgerRowDelegate::partAt(const QRect& row, const QPoint& point) {
    if (editButtonRect(row).contains(point)) return Part::edit;
    if (deleteButtonRect(row).contains(point)) return Part::remove;
    return Part::none;
}

void LedgerRowDelegate::press(const QModelIndex& index, const QRect& row, const QPoint& point) {
    pressedRow_ = index;
    pressedPart_ = index.isValid() ? partAt(row, point) : Part::none;
    hoveredRow_ = index;
    hoveredPart_ = pressedPart_;
}

void LedgerRowDelegate::clearHover() {
    hoveredRow_ = QPersistentModelIndex();
    hoveredPart_ = Part::none;
}

QSize LedgerRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {std::max(option.rect.width(), 320), contentHeight() + 2 * (kRowPadding + kRowInnerPadding)};
}

void LedgerRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    const QPalette& palette = option.palette;
    const QRect row = option.rect;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);

    if (option.state & QStyle::State_MouseOver) {
        QColor hover = AppStyle::foreground(palette, Foreground::primary);
        hover.setAlphaF(0.035);
        painter->fillRect(row, hover);
    }
    // The row the keys act on, while the list has the focus.
    if (option.state & QStyle::State_HasFocus) {
        QColor tint = AppStyle::focusColor(palette);
        tint.setAlphaF(0.12);
        painter->setPen(QPen(AppStyle::focusColor(palette), 2));
        painter->setBrush(tint);
        painter->drawRoundedRect(QRectF(row).adjusted(3, 2, -3, -2), 6, 6);
    }
    // A hairline between rows, inset like the content.
    if (index.row() + 1 < index.model()->rowCount(index.parent())) {
        QColor line = AppStyle::foreground(palette, Foreground::primary);
        line.setAlphaF(0.09);
        painter->setPen(QPen(line, 1));
        painter->drawLine(QPointF(row.left() + kSideMargin, row.bottom() + 0.5),
                          QPointF(row.right() - kSideMargin, row.bottom() + 0.5));
    }

    // The type badge: a capsule of the type's colour, faint, with the label in full colour.
    const auto type = static_cast<EntryType>(index.data(LedgerItemModel::EntryTypeRole).toInt());
    const QColor typeColor = entryTypeColor(type, palette);
    const QRect badge = badgeRect(row);
    painter->setPen(Qt::NoPen);
    painter->setBrush(AppStyle::badgeFill(typeColor));
    painter->drawRoundedRect(QRectF(badge), badge.height() / 2.0, badge.height() / 2.0);
    painter->setFont(badgeFont());
    painter->setPen(typeColor);
    const std::string_view label = entryTypeLabel(type);
    painter->drawText(badge, Qt::AlignCenter | Qt::TextSingleLine,
                      QString::fromLatin1(label.data(), static_cast<qsizetype>(label.size())));

    // The signed amount, right-aligned before the buttons.
    const QString amount =
        AppStyle::signedAmountText(index.data(LedgerItemModel::SignedAmountRole).toLongLong());
    const int amountRight = editButtonRect(row).left() - kSpacing;
    painter->setFont(AppStyle::amountFont());
    painter->setPen(amountColorOf(index, palette));
    painter->drawText(QRect(row.left(), row.top(), amountRight - row.left(), row.height()),
                      Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, amount);

    // Memo over date, in what room is left.
    const QFont memoFont = AppStyle::font(TextStyle::body);
    const QFont dateFont = AppStyle::font(TextStyle::caption2);
    const QFontMetrics memoMetrics(memoFont);
    const QFontMetrics dateMetrics(dateFont);
    const QRect text = textArea(row, index);
    const int textLeft = text.left();
    const int textWidth = text.width();
    const int block = memoMetrics.height() + 2 + dateMetrics.height();
    const int top = row.top() + (row.height() - block) / 2;
    painter->setFont(memoFont);
    painter->setPen(AppStyle::foreground(palette, Foreground::primary));
    painter->drawText(
        QRect(textLeft, top, textWidth, memoMetrics.height()),
        Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        memoMetrics.elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideRight, textWidth));
    painter->setFont(dateFont);
    painter->setPen(AppStyle::foreground(palette, Foreground::tertiary));
    painter->drawText(QRect(textLeft, top + memoMetrics.height() + 2, textWidth, dateMetrics.height()),
                      Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                      dateText(index.data(LedgerItemModel::CreatedAtRole).toDateTime()));

    paintButton(*painter, editButtonRect(row), index, Part::edit, palette);
    paintButton(*painter, deleteButtonRect(row), index, Part::remove, palette);
    painter->restore();
}

void LedgerRowDelegate::paintButton(QPainter& painter, const QRect& area, const QModelIndex& index, Part part,
                                    const QPalette& palette) const {
    const bool hovered = hoveredRow_ == index && hoveredPart_ == part;
    const bool pressed = pressedRow_ == index && pressedPart_ == part && hovered;
    if (hovered) {
        QColor back = AppStyle::foreground(palette, Foreground::primary);
        back.setAlphaF(pressed ? 0.16 : 0.08);
        painter.setPen(Qt::NoPen);
        painter.setBrush(back);
        painter.drawRoundedRect(QRectF(area), 5, 5);
    }
    // Borderless and dimmed; delete shows its destructive colour under the pointer.
    const QColor color = part == Part::remove && hovered
                             ? AppStyle::debitColor(palette)
                             : AppStyle::foreground(palette, Foreground::secondary);
    const QRect symbol(area.center().x() - kSymbolSize / 2, area.center().y() - kSymbolSize / 2, kSymbolSize,
                       kSymbolSize);
    SymbolIcons::paint(painter, symbol, part == Part::edit ? "pencil" : "trash", color);
}

bool LedgerRowDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                    const QStyleOptionViewItem& option, const QModelIndex& index) {
    auto* view = qobject_cast<QAbstractItemView*>(const_cast<QWidget*>(option.widget));
    const auto repaint = [view](const QModelIndex& row) {
        if (view && row.isValid()) view->viewport()->update(view->visualRect(row));
    };
    switch (event->type()) {
        case QEvent::MouseMove: {
            const Part part = partAt(option.rect, static_cast<QMouseEvent*>(event)->position().toPoint());
            if (hoveredRow_ != index || hoveredPart_ != part) {
                const QModelIndex before = hoveredRow_;
                hoveredRow_ = index;
                hoveredPart_ = part;
                repaint(before);
                repaint(index);
            }
            return false;
        }
        case QEvent::MouseButtonDblClick:
            // A second click on a button acts once only: the row may already show another entry.
            return partAt(option.rect, static_cast<QMouseEvent*>(event)->position().toPoint()) != Part::none;
        case QEvent::MouseButtonRelease: {
            auto* mouse = static_cast<QMouseEvent*>(event);
            const Part part = partAt(option.rect, mouse->position().toPoint());
            const bool click = part != Part::none && pressedRow_ == index && pressedPart_ == part;
            pressedRow_ = QPersistentModelIndex();
            pressedPart_ = Part::none;
            repaint(index);
            if (!click) return false;
            if (part == Part::edit) emit editRequested(index);
            if (part == Part::remove) emit deleteRequested(index);
            return true;
        }
        default: return QStyledItemDelegate::editorEvent(event, model, option, index);
    }
}

bool LedgerRowDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                  const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() == QEvent::ToolTip) {
        switch (partAt(option.rect, event->pos())) {
            case Part::edit: QToolTip::showText(event->globalPos(), tr("Edit"), view); return true;
            case Part::remove: QToolTip::showText(event->globalPos(), tr("Delete"), view); return true;
            case Part::none: break;
        }
        // A memo cut short in its row is shown whole, wrapped.
        const QString memo = index.data(LedgerItemModel::MemoRole).toString();
        const QFontMetrics metrics(AppStyle::font(TextStyle::body));
        if (metrics.horizontalAdvance(memo) > textArea(option.rect, index).width()) {
            QToolTip::showText(event->globalPos(), DataText::literalRichText(memo), view,
                               view->visualRect(index));
            return true;
        }
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

}  // namespace tallywick
