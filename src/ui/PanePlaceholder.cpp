// SPDX-License-Identifier: MIT
#include <tallywick/ui/PanePlaceholder.h>

#include <QPainter>

#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/SymbolIcons.h>

namespace tallywick {

PanePlaceholder::PanePlaceholder(std::string symbolName, QWidget* parent)
    : QWidget(parent), symbolName_(std::move(symbolName)) {}

void PanePlaceholder::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    constexpr int size = 56;
    const QRect area(width() / 2 - size / 2, height() / 2 - size / 2, size, size);
    SymbolIcons::paint(painter, area, symbolName_,
                       AppStyle::foreground(palette(), AppStyle::Foreground::quaternary));
}

}  // namespace tallywick
