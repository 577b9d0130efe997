// SPDX-License-Identifier: MIT
#include <tallywick/ui/BalanceChart.h>

#include <QDateTime>
#include <QEvent>
#include <QLocale>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include <tallywick/ui/AppStyle.h>

namespace tallywick {
namespace {

using AppStyle::Foreground;
using AppStyle::TextStyle;

constexpr int kHeight = 120;
constexpr qreal kGap = 8;          // between the labels and the plot
constexpr qreal kPillPadding = 6;  // left and right of the balance now
constexpr qreal kLineWidth = 1.6;
constexpr qreal kDotRadius = 3.5;

QFont axisFont() {
    return AppStyle::font(TextStyle::caption2);
}

QFont pillFont() {
    QFont font = AppStyle::font(TextStyle::caption);
    font.setBold(true);
    return font;
}

QDateTime localTime(Date at) {
    return QDateTime::fromSecsSinceEpoch(at.time_since_epoch().count(), Qt::UTC).toLocalTime();
}

}  // namespace

BalanceChart::BalanceChart(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("balanceChart"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(tr("Balance chart"));
    describe();
}

void BalanceChart::setEntries(const std::vector<LedgerEntry>& entries, std::function<bool()> stillValid) {
    source_ = &entries;
    stillValid_ = std::move(stillValid);
    unread_ = true;
    if (isVisible()) readEntries();
}

const BalanceHistory& BalanceChart::history() {
    if (unread_) readEntries();
    return history_;
}

void BalanceChart::readEntries() {
    const bool valid = source_ && (!stillValid_ || stillValid_());
    history_ = valid ? BalanceHistory(*source_) : BalanceHistory();
    // The list is only lent until the next call; nothing reads it again.
    source_ = nullptr;
    stillValid_ = {};
    unread_ = false;
    samples_.clear();
    sampledColumns_ = 0;
    describe();
    update();
}

void BalanceChart::describe() {
    if (history_.empty()) {
        setAccessibleDescription(tr("No entries yet"));
        return;
    }
    const QLocale locale;
    setAccessibleDescription(
        tr("Balance now %1 points, lowest %2, highest %3, from %4 to %5")
            .arg(AppStyle::plainAmountText(history_.points().back().balance),
                 AppStyle::plainAmountText(history_.lowest()), AppStyle::plainAmountText(history_.highest()),
                 locale.toString(localTime(history_.points().front().at), QLocale::ShortFormat),
                 locale.toString(localTime(history_.points().back().at), QLocale::ShortFormat)));
}

QRectF BalanceChart::plotArea() const {
    const QFontMetricsF axis(axisFont()), pill(pillFont());
    const qreal labels = std::max(axis.horizontalAdvance(AppStyle::plainAmountText(history_.lowest())),
                                  axis.horizontalAdvance(AppStyle::plainAmountText(history_.highest())));
    const std::int64_t now = history_.empty() ? 0 : history_.points().back().balance;
    const qreal pillWidth = pill.horizontalAdvance(AppStyle::plainAmountText(now)) + 2 * kPillPadding;
    // Room above and below for half a balance label or half the pill, whichever is taller.
    const qreal overhang = std::ceil(std::max(axis.height(), pill.height() + 2) / 2);
    const qreal left = labels + kGap, right = width() - pillWidth - kGap;
    const qreal top = overhang, bottom = height() - axis.height() - 6;
    return {left, top, std::max<qreal>(0, right - left), std::max<qreal>(0, bottom - top)};
}

std::size_t BalanceChart::columns() const {
    return static_cast<std::size_t>(std::ceil(plotArea().width() * devicePixelRatioF()));
}

const std::vector<BalanceHistory::Sample>& BalanceChart::samples() {
    const std::size_t wanted = columns();
    if (wanted != sampledColumns_) {
        samples_ = history_.downsampled(wanted);
        sampledColumns_ = wanted;
    }
    return samples_;
}

QPointF BalanceChart::place(const QRectF& plot, double position, std::int64_t balance) const {
    // In floating point: the spread of two 64-bit balances may not fit in 64 bits.
    const double low = static_cast<double>(history_.lowest());
    const double range = static_cast<double>(history_.highest()) - low;
    const double height =
        range > 0 ? std::clamp((static_cast<double>(balance) - low) / range, 0.0, 1.0) : 0.5;
    return {plot.left() + std::clamp(position, 0.0, 1.0) * plot.width(),
            plot.bottom() - height * plot.height()};
}

QString BalanceChart::axisDate(bool last) const {
    const QDateTime first = localTime(history_.points().front().at);
    const QDateTime end = localTime(history_.points().back().at);
    const QLocale locale;
    // Within one day the times tell more than the date twice.
    if (first.date() == end.date()) {
        return last ? locale.toString(end.time(), QLocale::ShortFormat)
                    : locale.toString(first, QLocale::ShortFormat);
    }
    return locale.toString((last ? end : first).date(), QLocale::ShortFormat);
}

QSize BalanceChart::sizeHint() const {
    return {400, kHeight};
}

QSize BalanceChart::minimumSizeHint() const {
    return {160, kHeight};
}

void BalanceChart::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (unread_) readEntries();
}

void BalanceChart::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::PaletteChange) update();
}

void BalanceChart::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& colours = palette();
    const QFont axis = axisFont();
    const QFontMetricsF axisMetrics(axis);
    painter.setFont(axis);
    if (history().empty()) {
        painter.setPen(AppStyle::foreground(colours, Foreground::tertiary));
        painter.drawText(rect(), Qt::AlignCenter, tr("No entries yet"));
        return;
    }
    const QRectF plot = plotArea();
    if (plot.width() < 2 || plot.height() < 2) return;
    const std::int64_t low = history_.lowest(), high = history_.highest();
    const std::int64_t now = history_.points().back().balance;

    // The lowest and highest balance as faint rules with their values beside
    // them, and zero as a dashed one where the line crosses it.
    QColor faint = AppStyle::foreground(colours, Foreground::primary);
    faint.setAlphaF(0.1);
    const auto level = [&](std::int64_t balance, const QPen& rule) {
        const qreal y = std::round(place(plot, 0, balance).y()) + 0.5;
        painter.setPen(rule);
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter.setPen(AppStyle::foreground(colours, Foreground::secondary));
        painter.drawText(QRectF(0, y - axisMetrics.height() / 2, plot.left() - kGap, axisMetrics.height()),
                         Qt::AlignRight | Qt::AlignVCenter, AppStyle::plainAmountText(balance));
    };
    level(high, QPen(faint, 1));
    if (low != high) level(low, QPen(faint, 1));
    qreal zeroY = low >= 0 ? plot.bottom() : plot.top();
    if (low < 0 && high > 0) {
        zeroY = std::round(place(plot, 0, 0).y()) + 0.5;
        // Its label only where it leaves the other two whole.
        const qreal room = 1.5 * axisMetrics.height();
        const bool roomy = zeroY - plot.top() > room && plot.bottom() - zeroY > room;
        const QPen dashed(AppStyle::foreground(colours, Foreground::tertiary), 1, Qt::DashLine);
        if (roomy) {
            level(0, dashed);
        } else {
            painter.setPen(dashed);
            painter.drawLine(QPointF(plot.left(), zeroY), QPointF(plot.right(), zeroY));
        }
    }

    painter.setPen(AppStyle::foreground(colours, Foreground::tertiary));
    const QRectF dates(plot.left(), plot.bottom() + 6, plot.width(), axisMetrics.height());
    painter.drawText(dates, Qt::AlignLeft | Qt::AlignVCenter, axisDate(false));
    if (history_.points().front().at != history_.points().back().at)
        painter.drawText(dates, Qt::AlignRight | Qt::AlignVCenter, axisDate(true));

    // A balance holds until the next entry: the line goes in steps.
    const std::vector<BalanceHistory::Sample>& points = samples();
    QPolygonF line;
    line.reserve(2 * static_cast<qsizetype>(points.size()) + 1);
    for (const BalanceHistory::Sample& sample : points) {
        const QPointF at = place(plot, sample.position, sample.balance);
        if (line.isEmpty()) {
            if (at.x() > plot.left()) line << QPointF(plot.left(), at.y());
        } else {
            line << QPointF(at.x(), line.back().y());
        }
        line << at;
    }
    QPainterPath area;
    area.addPolygon(line);
    area.lineTo(line.back().x(), zeroY);
    area.lineTo(line.front().x(), zeroY);
    area.closeSubpath();

    // Above zero in the credit colour, below in the debit colour.
    const QRectF everything = rect();
    QRectF above = everything, below = everything;
    above.setBottom(zeroY);
    below.setTop(zeroY);
    const bool split = low < 0 && high > 0;
    const auto part = [&](const QRectF& clip, const QColor& colour) {
        painter.save();
        if (split) painter.setClipRect(clip);
        QColor fill = colour;
        fill.setAlphaF(0.14);
        painter.fillPath(area, fill);
        painter.setPen(QPen(colour, kLineWidth, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        painter.drawPolyline(line);
        painter.restore();
    };
    if (low == 0 && high == 0) {
        part(everything, AppStyle::noteColor(colours));
    } else {
        if (high > 0) part(above, AppStyle::creditColor(colours));
        if (low < 0) part(below, AppStyle::debitColor(colours));
    }

    // The balance now: a dot at the line's end, and its value in a pill beside it.
    const QColor nowColour = AppStyle::amountColor(now, colours);
    const QPointF dot = place(plot, 1.0, now);
    painter.setPen(QPen(colours.color(QPalette::Base), 2));
    painter.setBrush(nowColour);
    painter.drawEllipse(dot, kDotRadius, kDotRadius);
    const QFont pill = pillFont();
    const QFontMetricsF pillMetrics(pill);
    const QString nowText = AppStyle::plainAmountText(now);
    const qreal pillHeight = pillMetrics.height() + 2;
    QRectF badge(plot.right() + kGap, dot.y() - pillHeight / 2,
                 pillMetrics.horizontalAdvance(nowText) + 2 * kPillPadding, pillHeight);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(badge, pillHeight / 2, pillHeight / 2);
    painter.setFont(pill);
    painter.setPen(colours.color(QPalette::Base));
    painter.drawText(badge, Qt::AlignCenter, nowText);
}

}  // namespace tallywick
