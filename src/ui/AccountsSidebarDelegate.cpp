// SPDX-License-Identifier: MIT
#include <tallywick/ui/AccountsSidebarDelegate.h>

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/AccountsSidebarModel.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/SymbolIcons.h>

namespace tallywick {
namespace {

using AppStyle::Foreground;
using AppStyle::TextStyle;
using Kind = AccountsSidebarModel::RowKind;

// Room above and below a row's two lines, besides the highlight's own margin.
constexpr int kAccountPadding = 2;
constexpr int kConnectionPadding = 1;
constexpr int kHighlightMargin = 4;
constexpr int kSymbolSize = 16;

QFont sectionFont() {
    QFont font = AppStyle::font(TextStyle::caption);
    font.setWeight(QFont::DemiBold);
    return font;
}

int lineHeight(const QFont& font) {
    return QFontMetrics(font).height();
}

Kind kindOf(const QModelIndex& index) {
    return static_cast<Kind>(index.data(AccountsSidebarModel::KindRole).toInt());
}

// The row's highlight: the accent while the list has the focus, a quiet
// grey otherwise; text keeps its colours on both, so amounts stay legible.
void paintHighlight(QPainter& painter, const QStyleOptionViewItem& option) {
    const bool selected = option.state & QStyle::State_Selected;
    const bool hovered = option.state & QStyle::State_MouseOver;
    if (!selected && !hovered) return;
    QColor fill;
    if (selected) {
        fill = AppStyle::selectionFill(option.palette, option.state & QStyle::State_HasFocus);
    } else {
        fill = AppStyle::foreground(option.palette, Foreground::primary);
        fill.setAlphaF(0.05);
    }
    const QRectF area =
        QRectF(option.rect)
            .adjusted(AccountsSidebarDelegate::rowInset, 1, -AccountsSidebarDelegate::rowInset, -1);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(area, 6, 6);
    // The row the keys act on shows it, beyond the fill.
    if (selected && (option.state & QStyle::State_HasFocus))
        AppStyle::paintFocusRing(painter, area, option.palette, 6);
}

// Two lines, the second smaller and dimmer, centred as a block in `area`.
void paintTwoLines(QPainter& painter, const QRect& area, const QString& first, const QFont& firstFont,
                   const QColor& firstColor, const QString& second, const QColor& secondColor) {
    const QFont secondFont = AppStyle::font(TextStyle::caption2);
    const QFontMetrics firstMetrics(firstFont);
    const QFontMetrics secondMetrics(secondFont);
    const int block = firstMetrics.height() + 1 + secondMetrics.height();
    const int top = area.top() + (area.height() - block) / 2;

    painter.setFont(firstFont);
    painter.setPen(firstColor);
    painter.drawText(QRect(area.left(), top, area.width(), firstMetrics.height()),
                     Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     firstMetrics.elidedText(first, Qt::ElideRight, area.width()));
    painter.setFont(secondFont);
    painter.setPen(secondColor);
    painter.drawText(
        QRect(area.left(), top + firstMetrics.height() + 1, area.width(), secondMetrics.height()),
        Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        secondMetrics.elidedText(second, Qt::ElideRight, area.width()));
}

QRect contentRect(const QStyleOptionViewItem& option) {
    const int inset = AccountsSidebarDelegate::rowInset + AccountsSidebarDelegate::contentPadding;
    return option.rect.adjusted(inset, 0, -inset, 0);
}

// The room for an account's name and mode: after its dot, before its balance.
QRect accountTextArea(const QStyleOptionViewItem& option, const QModelIndex& index) {
    QRect area = contentRect(option);
    const QString balance =
        AppStyle::plainAmountText(index.data(AccountsSidebarModel::BalanceRole).toLongLong());
    area.setLeft(area.left() + 8 + 8);
    area.setRight(area.right() - QFontMetrics(AppStyle::amountFont()).horizontalAdvance(balance) - 8);
    return area;
}

QRect connectionSymbolRect(const QStyleOptionViewItem& option) {
    const QRect area = contentRect(option);
    return {area.left() - 4, area.center().y() - kSymbolSize / 2 + 1, kSymbolSize, kSymbolSize};
}

// The room for a connection's name and state: after its symbol.
QRect connectionTextArea(const QStyleOptionViewItem& option) {
    QRect area = contentRect(option);
    area.setLeft(connectionSymbolRect(option).right() + 1 + 8);
    return area;
}

}  // namespace

void AccountsSidebarDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) const {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    switch (kindOf(index)) {
        case Kind::section: paintSection(*painter, option, index); break;
        case Kind::account: paintAccount(*painter, option, index); break;
        case Kind::connection: paintConnection(*painter, option, index); break;
    }
    painter->restore();
}

QSize AccountsSidebarDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const int width = option.rect.width() > 0 ? option.rect.width() : 240;
    const int second = lineHeight(AppStyle::font(TextStyle::caption2));
    switch (kindOf(index)) {
        case Kind::section: return {width, lineHeight(sectionFont()) + 14};
        case Kind::account:
            return {width, lineHeight(AppStyle::font(TextStyle::body)) + 1 + second +
                               2 * (kAccountPadding + kHighlightMargin)};
        case Kind::connection:
            return {width, lineHeight(AppStyle::font(TextStyle::callout)) + 1 + second +
                               2 * (kConnectionPadding + kHighlightMargin)};
    }
    return {width, second};
}

void AccountsSidebarDelegate::paintSection(QPainter& painter, const QStyleOptionViewItem& option,
                                           const QModelIndex& index) const {
    const QFont font = sectionFont();
    painter.setFont(font);
    painter.setPen(AppStyle::foreground(option.palette, Foreground::secondary));
    // Sits low in its row, close to the rows it heads.
    const QRect area = contentRect(option).adjusted(0, 0, 0, -3);
    const QString title = index.data(Qt::DisplayRole).toString();
    painter.drawText(area, Qt::AlignLeft | Qt::AlignBottom | Qt::TextSingleLine,
                     QFontMetrics(font).elidedText(title, Qt::ElideRight, area.width()));
}

void AccountsSidebarDelegate::paintAccount(QPainter& painter, const QStyleOptionViewItem& option,
                                           const QModelIndex& index) const {
    paintHighlight(painter, option);
    const QPalette& palette = option.palette;
    const QRect content = contentRect(option);

    const bool connected = index.data(AccountsSidebarModel::ConnectedRole).toBool();
    const QRectF dot(content.left(), content.center().y() - 3.5, 8, 8);
    painter.setPen(Qt::NoPen);
    painter.setBrush(connected ? AppStyle::connectedColor(palette) : AppStyle::disconnectedColor(palette));
    painter.drawEllipse(dot);

    const qlonglong balance = index.data(AccountsSidebarModel::BalanceRole).toLongLong();
    painter.setFont(AppStyle::amountFont());
    painter.setPen(AppStyle::amountColor(balance, palette));
    painter.drawText(content, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine,
                     AppStyle::plainAmountText(balance));

    paintTwoLines(painter, accountTextArea(option, index), index.data(Qt::DisplayRole).toString(),
                  AppStyle::font(TextStyle::body), AppStyle::foreground(palette, Foreground::primary),
                  index.data(AccountsSidebarModel::SubtitleRole).toString(),
                  AppStyle::foreground(palette, Foreground::tertiary));
}

void AccountsSidebarDelegate::paintConnection(QPainter& painter, const QStyleOptionViewItem& option,
                                              const QModelIndex& index) const {
    const QPalette& palette = option.palette;
    const bool authenticated = index.data(AccountsSidebarModel::ConnectedRole).toBool();
    SymbolIcons::paint(painter, connectionSymbolRect(option),
                       authenticated ? "person.fill.checkmark" : "person.fill.questionmark",
                       authenticated ? AppStyle::connectedColor(palette)
                                     : AppStyle::foreground(palette, Foreground::secondary));
    paintTwoLines(painter, connectionTextArea(option), index.data(Qt::DisplayRole).toString(),
                  AppStyle::font(TextStyle::callout), AppStyle::foreground(palette, Foreground::primary),
                  index.data(AccountsSidebarModel::SubtitleRole).toString(),
                  AppStyle::foreground(palette, Foreground::tertiary));
}

bool AccountsSidebarDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                        const QStyleOptionViewItem& option, const QModelIndex& index) {
    // A name cut short in its row is shown whole.
    if (event->type() == QEvent::ToolTip && kindOf(index) != Kind::section) {
        const bool account = kindOf(index) == Kind::account;
        const QString name = index.data(AccountsSidebarModel::NameRole).toString();
        const QFont font = AppStyle::font(account ? TextStyle::body : TextStyle::callout);
        const QRect area = account ? accountTextArea(option, index) : connectionTextArea(option);
        if (QFontMetrics(font).horizontalAdvance(name) > area.width()) {
            QToolTip::showText(event->globalPos(), DataText::literalRichText(name), view, option.rect);
            return true;
        }
        QToolTip::hideText();
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

}  // namespace tallywick
