// SPDX-License-Identifier: MIT
#include <tallywick/ui/AccountsSidebar.h>

#include <QPainter>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/AccountsSidebarDelegate.h>
#include <tallywick/ui/AccountsSidebarModel.h>

namespace tallywick {

AccountsSidebar::AccountsSidebar(AppModel& model, QWidget* parent)
    : QTreeView(parent), model_(model), items_(new AccountsSidebarModel(this)) {
    setObjectName(QStringLiteral("accountsSidebar"));
    setModel(items_);
    setItemDelegate(new AccountsSidebarDelegate(this));
    setHeaderHidden(true);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setExpandsOnDoubleClick(false);
    setIndentation(0);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true);
    setAttribute(Qt::WA_MacShowFocusRect, false);
    setMinimumWidth(minimumWidth);

    following_ = true;
    items_->setAccounts(model_.accounts());
    items_->setConnections(model_.connections());
    expandAll();
    following_ = false;
    showSelectionOfModel();

    connect(&model_, &AppModel::accountsChanged, this, [this] {
        following_ = true;
        items_->setAccounts(model_.accounts());
        following_ = false;
        showSelectionOfModel();
    });
    connect(&model_, &AppModel::connectionsChanged, this, [this] {
        following_ = true;
        items_->setConnections(model_.connections());
        following_ = false;
    });
    connect(&model_, &AppModel::selectedAccountIDChanged, this, &AccountsSidebar::showSelectionOfModel);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (!following_) writeSelectionToModel();
    });
}

QItemSelectionModel::SelectionFlags AccountsSidebar::selectionCommand(const QModelIndex& index,
                                                                      const QEvent* event) const {
    // A click on a section title or a connection leaves the selection alone.
    if (index.isValid() && !(items_->flags(index) & Qt::ItemIsSelectable))
        return QItemSelectionModel::NoUpdate;
    return QTreeView::selectionCommand(index, event);
}

void AccountsSidebar::drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    // The delegate draws the whole row, highlight included; the style draws nothing.
    QStyleOptionViewItem row = option;
    row.rect = QRect(0, option.rect.top(), viewport()->width(), option.rect.height());
    row.state &= ~(QStyle::State_Selected | QStyle::State_MouseOver | QStyle::State_HasFocus);
    if (selectionModel()->isSelected(index)) row.state |= QStyle::State_Selected;
    if (hasFocus()) row.state |= QStyle::State_HasFocus;
    const QPoint mouse = viewport()->mapFromGlobal(QCursor::pos());
    if (underMouse() && viewport()->rect().contains(mouse) && indexAt(mouse) == index &&
        (items_->flags(index) & Qt::ItemIsSelectable)) {
        row.state |= QStyle::State_MouseOver;
    }
    itemDelegate()->paint(painter, row, index);
}

QModelIndex AccountsSidebar::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    // Home and End go to the first and the last account: the section titles take no selection.
    if (action == MoveHome || action == MoveEnd) {
        const QModelIndex accounts = items_->sectionIndex(0);
        if (const int count = items_->rowCount(accounts); count > 0)
            return items_->index(action == MoveHome ? 0 : count - 1, 0, accounts);
    }
    return QTreeView::moveCursor(action, modifiers);
}

void AccountsSidebar::setFilter(const QString& text) {
    following_ = true;
    items_->setFilter(text);
    following_ = false;
    // A selected account filtered out stays selected in the model, shown
    // again with it, and in view once the filter is cleared.
    showSelectionOfModel();
    if (const auto& selected = model_.selectedAccountID()) {
        if (const QModelIndex row = items_->indexOfAccount(*selected); row.isValid()) scrollTo(row);
    }
}

void AccountsSidebar::showSelectionOfModel() {
    following_ = true;
    const auto& selected = model_.selectedAccountID();
    const QModelIndex row = selected ? items_->indexOfAccount(*selected) : QModelIndex();
    if (row.isValid()) {
        if (!selectionModel()->isSelected(row) || selectionModel()->selectedIndexes().size() != 1) {
            selectionModel()->setCurrentIndex(row, QItemSelectionModel::ClearAndSelect);
            scrollTo(row);
        }
    } else {
        // The model may still name an account that has gone: the list shows no selection.
        selectionModel()->clearSelection();
    }
    following_ = false;
}

void AccountsSidebar::writeSelectionToModel() {
    std::optional<std::string> id;
    for (const QModelIndex& index : selectionModel()->selectedIndexes()) {
        if (const Account* account = items_->accountAt(index)) {
            id = account->id;
            break;
        }
    }
    model_.setSelectedAccountID(std::move(id));
}

}  // namespace tallywick
