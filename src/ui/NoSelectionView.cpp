// SPDX-License-Identifier: MIT
#include <tallywick/ui/NoSelectionView.h>

#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>

#include <tallywick/ui/StyledLabel.h>
#include <tallywick/ui/SymbolIcons.h>

namespace tallywick {
namespace {

using AppStyle::Foreground;
using AppStyle::TextStyle;

// The picture at the size of a 40-point font's glyphs.
int symbolSize() {
    QFont font = AppStyle::font(TextStyle::body);
    font.setPointSizeF(40.0 * font.pointSizeF() / 13.0);
    return QFontMetrics(font).height();
}

}  // namespace

NoSelectionView::NoSelectionView(QWidget* parent) : QWidget(parent), symbol_(new QLabel(this)) {
    setObjectName(QStringLiteral("noSelectionView"));
    symbol_->setObjectName(QStringLiteral("noSelectionSymbol"));
    symbol_->setAlignment(Qt::AlignCenter);
    auto* title = new StyledLabel(TextStyle::title3, Foreground::secondary, this);
    title->setObjectName(QStringLiteral("noSelectionTitle"));
    title->setText(tr("Select an account"));
    title->setAlignment(Qt::AlignCenter);
    auto* hint = new StyledLabel(TextStyle::callout, Foreground::tertiary, this);
    hint->setObjectName(QStringLiteral("noSelectionHint"));
    hint->setText(tr("Agents appear here as they connect."));
    hint->setAlignment(Qt::AlignCenter);

    auto* column = new QVBoxLayout(this);
    column->setSpacing(8);
    column->addStretch(1);
    column->addWidget(symbol_);
    column->addWidget(title);
    column->addWidget(hint);
    column->addStretch(1);
    drawSymbol();
}

void NoSelectionView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) drawSymbol();
}

void NoSelectionView::drawSymbol() {
    const int size = symbolSize();
    symbol_->setPixmap(SymbolIcons::pixmap("person.crop.rectangle.stack", QSize(size, size),
                                           AppStyle::foreground(palette(), Foreground::tertiary),
                                           devicePixelRatioF()));
}

}  // namespace tallywick
