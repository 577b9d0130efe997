// SPDX-License-Identifier: MIT
#include <tallywick/ui/NewAccountSettingsSection.h>

#include <QLineEdit>
#include <QLocale>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/TextField.h>

namespace tallywick {

NewAccountSettingsSection::NewAccountSettingsSection(AppModel& model, QWidget* parent)
    : SettingsFormSection(tr("New Accounts"), parent), model_(model), field_(new TextField) {
    setObjectName(QStringLiteral("newAccountSettings"));
    field_->setObjectName(QStringLiteral("startingPointsField"));
    // The row's label names the field.
    field_->setAccessibleName(tr("Starting points"));
    field_->setFixedWidth(fieldWidth);
    field_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    addRow(
        rowWithNote(labelledRow(tr("Starting points"), field_),
                    QStringLiteral("Each new account is seeded with this many points as its opening entry. "
                                   "Existing accounts are unaffected.")));
    // Return, and leaving the field after a change.
    connect(field_, &QLineEdit::editingFinished, this, &NewAccountSettingsSection::commit);
    connect(&model_, &AppModel::settingsChanged, this, &NewAccountSettingsSection::settingsChanged);
    showPoints(model_.settings().startingPoints);
}

NewAccountSettingsSection::~NewAccountSettingsSection() {
    // The field still holding the focus loses it while the widgets go, and
    // would finish its editing into a section that is no longer there.
    field_->disconnect(this);
}

void NewAccountSettingsSection::commit() {
    bool whole = false;
    const qlonglong points = QLocale().toLongLong(field_->text().trimmed(), &whole);
    const std::int64_t current = model_.settings().startingPoints;
    if (whole && points != current) model_.setStartingPoints(points);
    // The field shows what the host last said; a new value comes with the refresh.
    showPoints(current);
}

void NewAccountSettingsSection::showPoints(std::int64_t points) {
    field_->setText(QLocale().toString(static_cast<qlonglong>(points)));
}

void NewAccountSettingsSection::settingsChanged() {
    // Text being typed is not taken away by a refresh that happens meanwhile.
    if (field_->hasFocus() && field_->isModified()) return;
    showPoints(model_.settings().startingPoints);
}

}  // namespace tallywick
