// SPDX-License-Identifier: MIT
#pragma once

#include <QListView>

namespace tallywick {

// The list of API log rows: rows of their own heights, selectable, and the
// payloads of the selected rows copied with the keyboard's copy shortcut.
class ApiLogListView : public QListView {
    Q_OBJECT

public:
    explicit ApiLogListView(QWidget* parent = nullptr);

    // The whole payloads of the selected rows, top to bottom, one per line.
    QString selectedPayloads() const;
    // Puts them on the clipboard; nothing when no row is selected.
    void copySelection();

protected:
    void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace tallywick
