// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessible>
#include <QHash>
#include <QTableView>

namespace tallywick {

// The ledger's rows as the keyboard and assistive tools reach them. The
// current row shows focus; Return, Enter, Space or F2 edit it, Delete
// deletes it (as its trash button does), and the menu key or Shift+F10
// opens its menu, as a right click does. To a screen reader the rows are a
// list whose items carry two actions, Edit and Delete.
class LedgerTableView : public QTableView {
    Q_OBJECT

public:
    explicit LedgerTableView(QWidget* parent = nullptr);
    ~LedgerTableView() override;

    void setModel(QAbstractItemModel* model) override;

    // What the keys, the menu and the accessibility actions ask for.
    void requestEdit(const QModelIndex& index);
    void requestDelete(const QModelIndex& index);
    // The accessibility tree's item for a row, made on first use.
    QAccessibleInterface* accessibleRow(int row);

signals:
    void editRequested(const QModelIndex& index);
    void deleteRequested(const QModelIndex& index);
    void menuRequested(const QModelIndex& index, const QPoint& globalPosition);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    void forgetAccessibleRows();

    QHash<int, QAccessible::Id> accessibleRows_;
};

}  // namespace tallywick
