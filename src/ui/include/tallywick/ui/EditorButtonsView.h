// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <functional>

class QPushButton;

namespace tallywick {

// The Cancel/Save row at the foot of every editing sheet (a dialog): Escape
// cancels wherever the focus is; Return saves from the sheet's fields and
// presses whichever button has the focus. Neither is ever disabled.
class EditorButtonsView : public QWidget {
    Q_OBJECT

public:
    EditorButtonsView(const std::function<void()>& onCancel, const std::function<void()>& onSave,
                      QWidget* parent = nullptr);

    QPushButton* cancelButton() const { return cancel_; }
    QPushButton* saveButton() const { return save_; }

private:
    QPushButton* cancel_;
    QPushButton* save_;
};

}  // namespace tallywick
