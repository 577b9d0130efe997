// SPDX-License-Identifier: MIT
#include <tallywick/ui/StyledLabel.h>

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QRegularExpression>
#include <QTextBoundaryFinder>

#include <tallywick/app/DataText.h>

namespace tallywick {
namespace {

constexpr QChar kBreak(0x200B);  // ZERO WIDTH SPACE: a place to break, nothing to see
constexpr int kLongestRun = 16;

// `text` with a break opportunity after every kLongestRun characters that
// have none: a 256-character name of one word wraps instead of widening
// the column past the window. Characters are counted as a reader sees them
// (graphemes), so no emoji or accented letter is split.
QString breakable(const QString& text) {
    QString out;
    out.reserve(text.size() + text.size() / kLongestRun);
    QTextBoundaryFinder graphemes(QTextBoundaryFinder::Grapheme, text);
    int run = 0;
    qsizetype from = 0;
    for (qsizetype to = graphemes.toNextBoundary(); to != -1; to = graphemes.toNextBoundary()) {
        const QStringView piece = QStringView(text).mid(from, to - from);
        out += piece;
        run = piece.front().isSpace() || piece.front() == kBreak ? 0 : run + 1;
        if (run == kLongestRun && to < text.size()) {
            out += kBreak;
            run = 0;
        }
        from = to;
    }
    return out;
}

}  // namespace

StyledLabel::StyledLabel(const QFont& font, AppStyle::Tint tint, QWidget* parent)
    : QLabel(parent), tint_(std::move(tint)) {
    setFont(font);
    // Data is shown as it is: never read as rich text.
    setTextFormat(Qt::PlainText);
    // The tinted role, wherever the label sits: inside a toolbar Qt would
    // otherwise draw it in the button text colour, undimmed.
    setForegroundRole(QPalette::WindowText);
    applyTint();
}

StyledLabel::StyledLabel(AppStyle::TextStyle style, AppStyle::Foreground level, QWidget* parent)
    : StyledLabel(AppStyle::font(style), AppStyle::tint(level), parent) {}

void StyledLabel::setTint(AppStyle::Tint tint) {
    tint_ = std::move(tint);
    applyTint();
}

void StyledLabel::setTextFixingSize(const QString& text) {
    if (text == this->text() && minimumSize() == maximumSize()) return;
    // A label of fixed size does not ask its parents for a new layout.
    if (minimumSize() != maximumSize()) setFixedSize(sizeHint());
    setText(text);
    const QSize needed = sizeHint();
    if (needed != maximumSize()) setFixedSize(needed);
}

void StyledLabel::setDataText(const QString& text) {
    data_ = text;
    setText(DataText::isolated(breakable(text)));
    setAccessibleName(text);
}

QString StyledLabel::copiedText() const {
    QString selected = selectedText();
    if (data_.isNull() || selected.isEmpty()) return selected;
    if (selectionStart() == 0 && selected.size() == text().size()) return data_;
    // Part of it: what the window added goes again.
    static const QRegularExpression added(QStringLiteral("[\\x{200B}\\x{2068}\\x{2069}]"));
    return selected.remove(added);
}

void StyledLabel::keyPressEvent(QKeyEvent* event) {
    if (event == QKeySequence::Copy && hasSelectedText()) {
        QApplication::clipboard()->setText(copiedText());
        event->accept();
        return;
    }
    QLabel::keyPressEvent(event);
}

void StyledLabel::contextMenuEvent(QContextMenuEvent* event) {
    if (data_.isNull() || !(textInteractionFlags() & Qt::TextSelectableByMouse)) {
        QLabel::contextMenuEvent(event);
        return;
    }
    QMenu menu(this);
    QAction* copy =
        menu.addAction(tr("Copy"), this, [this] { QApplication::clipboard()->setText(copiedText()); });
    copy->setEnabled(hasSelectedText());
    menu.addAction(tr("Select All"), this, [this] { setSelection(0, static_cast<int>(text().size())); });
    menu.exec(event->globalPos());
}

void StyledLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange) applyTint();
}

void StyledLabel::applyTint() {
    if (applying_ || !tint_) return;
    applying_ = true;
    const QPalette around = AppStyle::inheritedPalette(*this);
    QPalette own = palette();
    const QColor color = tint_(around);
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        own.setColor(group, QPalette::WindowText, color);
        own.setColor(group, QPalette::Text, color);
    }
    QColor faded = color;
    faded.setAlphaF(color.alphaF() * 0.5F);
    own.setColor(QPalette::Disabled, QPalette::WindowText, faded);
    own.setColor(QPalette::Disabled, QPalette::Text, faded);
    setPalette(own);
    applying_ = false;
}

}  // namespace tallywick
