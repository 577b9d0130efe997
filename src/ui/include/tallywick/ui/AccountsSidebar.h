// SPDX-License-Identifier: MIT
#pragma once

#include <QTreeView>

namespace tallywick {

class AppModel;
class AccountsSidebarModel;

// The records pane's left column: every account, then the live connections.
// Its selection is the App model's selected account, both ways: a click
// writes the account's identifier, and a change in the model moves the
// highlight. Only account rows can be selected.
class AccountsSidebar : public QTreeView {
    Q_OBJECT

public:
    static constexpr int minimumWidth = 240;

    explicit AccountsSidebar(AppModel& model, QWidget* parent = nullptr);

    AccountsSidebarModel& items() const { return *items_; }
    // Narrows the account rows to those whose name or identifier holds `text`.
    void setFilter(const QString& text);

protected:
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event = nullptr) const override;
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                 const QModelIndex& index) const override;
    void drawBranches(QPainter*, const QRect&, const QModelIndex&) const override {}
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

private:
    void showSelectionOfModel();
    void writeSelectionToModel();

    AppModel& model_;
    AccountsSidebarModel* items_;
    // Set while the list follows the model, so that its own reaction is not written back.
    bool following_ = false;
};

}  // namespace tallywick
