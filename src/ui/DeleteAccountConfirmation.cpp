// SPDX-License-Identifier: MIT
#include <tallywick/ui/DeleteAccountConfirmation.h>

#include <QApplication>
#include <QPushButton>

#include <tallywick/ui/AppStyle.h>

namespace tallywick {

QMessageBox* confirmAccountDeletion(QWidget* parent, const std::function<void()>& onDelete) {
    auto* box = new QMessageBox(parent);
    box->setObjectName(QStringLiteral("deleteAccountConfirmation"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    box->setWindowTitle(QApplication::applicationDisplayName());
    box->setIcon(QMessageBox::Warning);
    box->setTextFormat(Qt::PlainText);
    box->setText(
        QCoreApplication::translate("AccountHeaderView", "Delete this account and all its entries?"));

    QPushButton* remove = box->addButton(QCoreApplication::translate("AccountHeaderView", "Delete Account"),
                                         QMessageBox::DestructiveRole);
    remove->setObjectName(QStringLiteral("confirmDeleteButton"));
    QPalette destructive = remove->palette();
    destructive.setColor(QPalette::ButtonText, AppStyle::debitColor(destructive));
    remove->setPalette(destructive);
    QPushButton* cancel = box->addButton(QMessageBox::Cancel);
    cancel->setObjectName(QStringLiteral("cancelDeleteButton"));
    // Return must not destroy anything by accident.
    box->setDefaultButton(cancel);
    box->setEscapeButton(cancel);

    QObject::connect(box, &QMessageBox::buttonClicked, box, [remove, onDelete](QAbstractButton* clicked) {
        if (clicked == remove && onDelete) onDelete();
    });
    box->open();
    return box;
}

}  // namespace tallywick
