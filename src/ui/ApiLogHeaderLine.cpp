// SPDX-License-Identifier: MIT
#include <tallywick/ui/ApiLogHeaderLine.h>

#include <QDateTime>
#include <QFontMetrics>
#include <QLocale>
#include <QPainter>
#include <QtMath>
#include <algorithm>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/AppStyle.h>

namespace tallywick::ApiLogHeaderLine {
namespace {

QFont methodFont() {
    QFont font = AppStyle::font(AppStyle::TextStyle::callout);
    font.setBold(true);
    return font;
}

// The locale's long time format names the time zone as well; without it,
// it is the style that shows hours, minutes and seconds.
QString timeFormat(const QLocale& locale) {
    const QString full = locale.timeFormat(QLocale::LongFormat);
    QString format;
    bool quoted = false;
    for (const QChar c : full) {
        if (c == QLatin1Char('\'')) quoted = !quoted;
        if (!quoted && c == QLatin1Char('t')) continue;
        format += c;
    }
    return format.simplified();
}

// Whole pixels that hold the text: a rounded-down width would make it elide itself.
int advance(const QFont& font, const QString& text) {
    return qCeil(QFontMetricsF(font).horizontalAdvance(text));
}

// One line of text in `area`, cut with an ellipsis when it does not fit, centred vertically.
void drawText(QPainter& painter, const QRect& area, const QFont& font, const QColor& color,
              const QString& text) {
    if (text.isEmpty() || area.width() <= 0) return;
    painter.setFont(font);
    painter.setPen(color);
    const QString shown = QFontMetrics(font).elidedText(text, Qt::ElideRight, area.width());
    painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shown);
}

// The line is one line, whatever breaks the agent's text holds.
QString oneLine(QString text) {
    for (QChar& c : text) {
        if (c.direction() == QChar::DirB || c == QChar::LineSeparator || c == QLatin1Char('\v') ||
            c == QLatin1Char('\f'))
            c = QLatin1Char(' ');
    }
    return text;
}

}  // namespace

QString methodText(const ApiLogEntry& entry) {
    return entry.method ? QString::fromStdString(*entry.method) : QStringLiteral("\u2014");
}

QString clientText(const ApiLogEntry& entry) {
    return entry.clientLabel ? QString::fromStdString(*entry.clientLabel) : QString();
}

QString methodShown(const ApiLogEntry& entry) {
    return DataText::isolated(oneLine(methodText(entry)));
}

QString clientShown(const ApiLogEntry& entry) {
    return entry.clientLabel ? DataText::isolated(oneLine(clientText(entry))) : QString();
}

QString timeText(Date when) {
    const QLocale locale;
    // The format is worked out once per locale; rows ask for it on every paint.
    static QString formatLocale, format;
    if (formatLocale != locale.name() || format.isEmpty()) {
        formatLocale = locale.name();
        format = timeFormat(locale);
    }
    const QDateTime utc = QDateTime::fromSecsSinceEpoch(when.time_since_epoch().count(), Qt::UTC);
    return locale.toString(utc.toLocalTime().time(), format);
}

int height() {
    static const int tallest =
        std::max({QFontMetrics(methodFont()).height(),
                  QFontMetrics(AppStyle::font(AppStyle::TextStyle::caption)).height(),
                  QFontMetrics(AppStyle::font(AppStyle::TextStyle::caption2)).height()});
    return tallest;
}

void paint(QPainter& painter, const QRect& line, const ApiLogEntry& entry, const QPalette& palette) {
    static const QFont method = methodFont();
    static const QFont caption = AppStyle::font(AppStyle::TextStyle::caption);
    static const QFont caption2 = AppStyle::font(AppStyle::TextStyle::caption2);
    const QString methodLine = methodShown(entry), client = clientShown(entry),
                  time = timeText(entry.timestamp);

    // The time always shows; the client's label gives way first, then the method.
    const int timeWidth = advance(caption2, time);
    const int room = std::max(0, line.width() - timeWidth - spacing);
    const int methodWidth = std::min(advance(method, methodLine), room);
    const int clientWidth = std::min(advance(caption, client), std::max(0, room - methodWidth - spacing));

    QRect area = line;
    area.setWidth(methodWidth);
    drawText(painter, area, method, AppStyle::foreground(palette, AppStyle::Foreground::primary), methodLine);
    area.translate(methodWidth + spacing, 0);
    area.setWidth(clientWidth);
    drawText(painter, area, caption, AppStyle::foreground(palette, AppStyle::Foreground::secondary), client);
    drawText(painter, QRect(line.right() - timeWidth + 1, line.top(), timeWidth, line.height()), caption2,
             AppStyle::foreground(palette, AppStyle::Foreground::tertiary), time);
}

}  // namespace tallywick::ApiLogHeaderLine
