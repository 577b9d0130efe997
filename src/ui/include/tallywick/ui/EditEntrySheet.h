// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>

#include <tallywick/model/LedgerEntry.h>

namespace tallywick {

class AppModel;
class EditorButtonsView;
class EntryFields;

// A window-modal sheet that edits one entry. It opens with the entry's
// type, amount and memo; Save sends the whole entry with those three
// replaced (identifier, dates and sequence as they were) and closes at once.
// Save is never disabled: an amount that is not a number above 0 is sent as 0.
class EditEntrySheet : public QDialog {
    Q_OBJECT

public:
    static constexpr int width = 480;

    EditEntrySheet(AppModel& model, LedgerEntry entry, QWidget* parent);

    const LedgerEntry& entry() const { return entry_; }
    EntryFields* fields() const { return fields_; }
    EditorButtonsView* buttons() const { return buttons_; }

private:
    void save();

    AppModel& model_;
    LedgerEntry entry_;
    EntryFields* fields_;
    EditorButtonsView* buttons_;
};

}  // namespace tallywick
