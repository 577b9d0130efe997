// SPDX-License-Identifier: MIT
#include <tallywick/ui/TextField.h>

#include <QAction>
#include <limits>

namespace tallywick {

TextField::TextField(QWidget* parent) : QLineEdit(parent) {
    setMaxLength(std::numeric_limits<int>::max());
}

void TextField::clearOnEscape() {
    auto* clear = new QAction(this);
    clear->setShortcut(Qt::Key_Escape);
    clear->setShortcutContext(Qt::WidgetShortcut);
    addAction(clear);
    connect(clear, &QAction::triggered, this, &QLineEdit::clear);
}

}  // namespace tallywick
