// SPDX-License-Identifier: MIT
#pragma once

#include <QMessageBox>
#include <functional>

namespace tallywick {

// Asks, window-modal, whether to delete an account with all its entries.
// `onDelete` runs only for the destructive "Delete Account"; the dialog's own
// cancel choice (and Escape) closes it with nothing done. Returns the open
// dialog, which deletes itself when closed.
QMessageBox* confirmAccountDeletion(QWidget* parent, const std::function<void()>& onDelete);

}  // namespace tallywick
