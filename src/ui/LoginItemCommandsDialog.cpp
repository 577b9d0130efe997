// SPDX-License-Identifier: MIT
#include <tallywick/ui/LoginItemCommandsDialog.h>

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/StyledLabel.h>

namespace tallywick {

LoginItemCommandsDialog::LoginItemCommandsDialog(const QStringList& commands, QWidget* parent)
    : QDialog(parent), commands_(commands) {
    setObjectName(QStringLiteral("loginItemCommandsDialog"));
    setWindowTitle(tr("Login Item"));

    auto* explanation = new StyledLabel(AppStyle::TextStyle::body, AppStyle::Foreground::primary);
    explanation->setText(
        tr("The host's login item is turned off. To turn it back on, run these commands in a "
           "terminal:"));
    explanation->setWordWrap(true);

    auto* lines = new QPlainTextEdit(commands.join(QLatin1Char('\n')));
    lines->setObjectName(QStringLiteral("loginItemCommands"));
    lines->setReadOnly(true);
    lines->setLineWrapMode(QPlainTextEdit::NoWrap);
    lines->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    const QFontMetrics metrics(lines->font());
    int widest = 0;
    for (const QString& command : commands) widest = std::max(widest, metrics.horizontalAdvance(command));
    lines->setMinimumWidth(std::min(widest + 32, 900));
    lines->setFixedHeight(metrics.lineSpacing() * static_cast<int>(commands.size() + 1) + 12);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 16);
    column->setSpacing(12);
    column->addWidget(explanation);
    column->addWidget(lines);
    column->addWidget(buttons);
}

}  // namespace tallywick
