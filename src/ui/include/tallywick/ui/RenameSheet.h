// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <string>

class QLineEdit;

namespace tallywick {

class AppModel;
class EditorButtonsView;

// A window-modal sheet for a new display name. Save sends the text exactly
// as typed (even empty or blank; the host judges it) and closes at once.
class RenameSheet : public QDialog {
    Q_OBJECT

public:
    static constexpr int width = 380;

    RenameSheet(AppModel& model, std::string accountId, const std::string& displayName, QWidget* parent);

    QLineEdit* nameField() const { return name_; }
    EditorButtonsView* buttons() const { return buttons_; }

private:
    void save();

    AppModel& model_;
    std::string accountId_;
    QLineEdit* name_;
    EditorButtonsView* buttons_;
};

}  // namespace tallywick
