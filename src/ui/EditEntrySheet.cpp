// SPDX-License-Identifier: MIT
#include <tallywick/ui/EditEntrySheet.h>

#include <QLineEdit>
#include <QVBoxLayout>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/AmountText.h>
#include <tallywick/ui/EditorButtonsView.h>
#include <tallywick/ui/EntryFields.h>
#include <tallywick/ui/EntryType.h>
#include <tallywick/ui/StyledLabel.h>

namespace tallywick {

EditEntrySheet::EditEntrySheet(AppModel& model, LedgerEntry entry, QWidget* parent)
    : QDialog(parent), model_(model), entry_(std::move(entry)), fields_(new EntryFields(this)) {
    setObjectName(QStringLiteral("editEntrySheet"));
    setWindowTitle(tr("Edit Transaction"));
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);

    auto* title = new StyledLabel(AppStyle::TextStyle::headline, AppStyle::Foreground::primary, this);
    title->setText(tr("Edit Transaction"));
    fields_->setType(entryTypeOf(entry_));
    fields_->setAmountText(QString::number(static_cast<qlonglong>(entry_.amount)));
    fields_->setMemo(QString::fromUtf8(entry_.memo.data(), static_cast<qsizetype>(entry_.memo.size())));
    // Long texts show from their start.
    fields_->amountField()->setCursorPosition(0);
    fields_->memoField()->setCursorPosition(0);
    buttons_ = new EditorButtonsView([this] { reject(); }, [this] { save(); }, this);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(16);
    column->addWidget(title);
    column->addWidget(fields_);
    column->addWidget(buttons_);
    setFixedSize(width, sizeHint().height());
}

void EditEntrySheet::save() {
    LedgerEntry changed = entry_;
    const EntryType type = fields_->type();
    changed.kind = kindOf(type);
    changed.flag = flagOf(type);
    changed.amount = AmountText::amountToSend(type, fields_->amountText());
    const QByteArray memo = fields_->memo().toUtf8();
    changed.memo.assign(memo.constData(), static_cast<std::size_t>(memo.size()));
    model_.updateEntry(std::move(changed));
    accept();
}

}  // namespace tallywick
