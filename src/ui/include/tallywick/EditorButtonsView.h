#pragma once

#include <QWidget>
#include <functional>

class QPushButton;

namespace tallywick {

// The Cancel/Save row at the foot of every editing sheet: Escape cancels and
// Return saves, wherever the focus is in the sheet. Neither is ever disabled.
class EditorButtonsView : public QWidget {
    Q_OBJECT

public:
    EditorButtonsView(std::function<void()> onCancel, std::function<void()> onSave,
                      QWidget* parent = nullptr);

    QPushButton* cancelButton() const { return cancel_; }
    QPushButton* saveButton() const { return save_; }

private:
    QPushButton* cancel_;
    QPushButton* save_;
};

}  // namespace tallywick
