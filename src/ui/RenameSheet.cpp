// SPDX-License-Identifier: MIT
#include <tallywick/ui/RenameSheet.h>

#include <QLineEdit>
#include <QVBoxLayout>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/EditorButtonsView.h>
#include <tallywick/ui/StyledLabel.h>
#include <tallywick/ui/TextField.h>

namespace tallywick {

RenameSheet::RenameSheet(AppModel& model, std::string accountId, const std::string& displayName,
                         QWidget* parent)
    : QDialog(parent), model_(model), accountId_(std::move(accountId)), name_(new TextField(this)) {
    setObjectName(QStringLiteral("renameSheet"));
    setWindowTitle(tr("Rename Account"));
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);

    auto* title = new StyledLabel(AppStyle::TextStyle::headline, AppStyle::Foreground::primary, this);
    title->setText(tr("Rename Account"));
    name_->setObjectName(QStringLiteral("displayNameField"));
    name_->setPlaceholderText(tr("Display name"));
    name_->setAccessibleName(tr("Display name"));
    name_->setText(QString::fromUtf8(displayName.data(), static_cast<qsizetype>(displayName.size())));
    name_->selectAll();
    buttons_ = new EditorButtonsView([this] { reject(); }, [this] { save(); }, this);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(16);
    column->addWidget(title);
    column->addWidget(name_);
    column->addWidget(buttons_);
    // Fixed width, height from the content.
    setFixedSize(width, sizeHint().height());
}

void RenameSheet::save() {
    const QByteArray typed = name_->text().toUtf8();
    model_.renameAccount(accountId_, std::string(typed.constData(), static_cast<std::size_t>(typed.size())));
    accept();
}

}  // namespace tallywick
