// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include <tallywick/ui/EntryType.h>

class QComboBox;
class QGraphicsOpacityEffect;
class QLineEdit;

namespace tallywick {

// The three inputs of an entry, side by side: the type picker, the amount
// (disabled and faded for a note, keeping its text) and the memo. None of
// them acts on Return by itself.
class EntryFields : public QWidget {
    Q_OBJECT

public:
    explicit EntryFields(QWidget* parent = nullptr);

    EntryType type() const;
    QString amountText() const;
    QString memo() const;
    void setType(EntryType type);
    void setAmountText(const QString& text);
    void setMemo(const QString& memo);

    QComboBox* typePicker() const { return type_; }
    QLineEdit* amountField() const { return amount_; }
    QLineEdit* memoField() const { return memo_; }

signals:
    void edited();

private:
    void showTypeState();

    QComboBox* type_;
    QLineEdit* amount_;
    QLineEdit* memo_;
    QGraphicsOpacityEffect* amountFade_;
};

}  // namespace tallywick
