// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QStringList>

class QPlainTextEdit;

namespace tallywick {

// Shown when the user has turned the host's login item off and no autostart
// settings could be opened: the commands that turn it back on, to copy.
class LoginItemCommandsDialog : public QDialog {
    Q_OBJECT

public:
    explicit LoginItemCommandsDialog(const QStringList& commands, QWidget* parent = nullptr);

    QStringList commands() const { return commands_; }

private:
    QStringList commands_;
};

}  // namespace tallywick
