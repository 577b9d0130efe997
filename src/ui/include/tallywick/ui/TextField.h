// SPDX-License-Identifier: MIT
#pragma once

#include <QLineEdit>

namespace tallywick {

// A one-line text field that keeps all it is given, however long: a plain
// line edit silently cuts text at 32,767 characters, which would lose the
// end of a long memo the moment only its amount is edited.
class TextField : public QLineEdit {
public:
    explicit TextField(QWidget* parent = nullptr);

    // A search field: Escape, while it has the focus, empties it.
    void clearOnEscape();
};

}  // namespace tallywick
