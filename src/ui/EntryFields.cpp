// SPDX-License-Identifier: MIT
#include <tallywick/ui/EntryFields.h>

#include <QComboBox>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLineEdit>

#include <tallywick/ui/EntryTypePicker.h>
#include <tallywick/ui/TextField.h>

namespace tallywick {

EntryFields::EntryFields(QWidget* parent)
    : QWidget(parent),
      type_(new EntryTypePicker(this)),
      amount_(new TextField(this)),
      memo_(new TextField(this)),
      amountFade_(new QGraphicsOpacityEffect(amount_)) {
    setObjectName(QStringLiteral("entryFields"));
    type_->setObjectName(QStringLiteral("entryTypePicker"));
    amount_->setObjectName(QStringLiteral("amountField"));
    memo_->setObjectName(QStringLiteral("memoField"));

    // The picker's title is not shown, but still names it.
    type_->setAccessibleName(tr("Type"));
    for (const EntryType type : allEntryTypes) {
        const std::string_view label = entryTypeLabel(type);
        const std::string_view text = entryTypeText(type);
        type_->addItem(QString::fromLatin1(label.data(), static_cast<qsizetype>(label.size())),
                       QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size())));
    }
    type_->setFixedWidth(120);
    amount_->setPlaceholderText(tr("Amount"));
    amount_->setAccessibleName(tr("Amount"));
    amount_->setFixedWidth(90);
    memo_->setPlaceholderText(tr("Memo"));
    memo_->setAccessibleName(tr("Memo"));
    amount_->setGraphicsEffect(amountFade_);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(type_);
    row->addWidget(amount_);
    row->addWidget(memo_, 1);

    connect(type_, &QComboBox::currentIndexChanged, this, [this] {
        showTypeState();
        emit edited();
    });
    connect(amount_, &QLineEdit::textChanged, this, &EntryFields::edited);
    connect(memo_, &QLineEdit::textChanged, this, &EntryFields::edited);
    showTypeState();
}

EntryType EntryFields::type() const {
    const int index = type_->currentIndex();
    return index >= 0 && index < static_cast<int>(allEntryTypes.size())
               ? allEntryTypes[static_cast<std::size_t>(index)]
               : EntryType::credit;
}

QString EntryFields::amountText() const {
    return amount_->text();
}

QString EntryFields::memo() const {
    return memo_->text();
}

void EntryFields::setType(EntryType type) {
    for (std::size_t i = 0; i < allEntryTypes.size(); ++i) {
        if (allEntryTypes[i] == type) type_->setCurrentIndex(static_cast<int>(i));
    }
}

void EntryFields::setAmountText(const QString& text) {
    amount_->setText(text);
}

void EntryFields::setMemo(const QString& memo) {
    memo_->setText(memo);
}

void EntryFields::showTypeState() {
    const bool note = type() == EntryType::note;
    amount_->setEnabled(!note);
    amountFade_->setOpacity(0.4);
    amountFade_->setEnabled(note);
}

}  // namespace tallywick
