// SPDX-License-Identifier: MIT
#include <tallywick/ui/LedgerTableView.h>

#include <QAccessibleWidget>
#include <QContextMenuEvent>
#include <QDateTime>
#include <QKeyEvent>
#include <QPointer>
#include <QWindow>

#include <tallywick/ui/LedgerItemModel.h>
#include <tallywick/ui/LedgerRowDelegate.h>

namespace tallywick {
namespace {

enum class KeyAction { none, edit, remove, menu };

KeyAction actionOf(const QKeyEvent& key) {
    const Qt::KeyboardModifiers modifiers = key.modifiers() & ~Qt::KeypadModifier;
    if (modifiers == Qt::NoModifier) {
        switch (key.key()) {
            case Qt::Key_Return:
            case Qt::Key_Enter:
            case Qt::Key_Space:
            case Qt::Key_F2: return KeyAction::edit;
            case Qt::Key_Delete: return KeyAction::remove;
            case Qt::Key_Menu: return KeyAction::menu;
            default: return KeyAction::none;
        }
    }
    return modifiers == Qt::ShiftModifier && key.key() == Qt::Key_F10 ? KeyAction::menu : KeyAction::none;
}

QString editAction() {
    return QStringLiteral("Edit");
}

QString deleteAction() {
    return QStringLiteral("Delete");
}

// One row of the ledger as a list item: its text, where it is, and its two actions.
class RowAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    RowAccessible(LedgerTableView* view, int row) : view_(view), row_(row) {}

    bool isValid() const override { return view_ && view_->model() && row_ < view_->model()->rowCount(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return view_ ? view_->window()->windowHandle() : nullptr; }
    QAccessibleInterface* focusChild() const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(view_); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    void setText(QAccessible::Text, const QString&) override {}
    QAccessible::Role role() const override { return QAccessible::ListItem; }

    QString text(QAccessible::Text kind) const override {
        if (!isValid()) return {};
        const QModelIndex at = index();
        switch (kind) {
            case QAccessible::Name: return at.data(Qt::AccessibleTextRole).toString();
            case QAccessible::Description:
                return LedgerRowDelegate::dateText(at.data(LedgerItemModel::CreatedAtRole).toDateTime());
            default: return {};
        }
    }

    QRect rect() const override {
        if (!isValid()) return {};
        const QRect local = view_->visualRect(index());
        return {view_->viewport()->mapToGlobal(local.topLeft()), local.size()};
    }

    QAccessible::State state() const override {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        state.focusable = true;
        state.focused = view_->hasFocus() && view_->currentIndex().row() == row_;
        state.offscreen = !view_->viewport()->rect().intersects(view_->visualRect(index()));
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }

    QStringList actionNames() const override { return {editAction(), deleteAction()}; }

    QString localizedActionName(const QString& name) const override {
        if (name == editAction()) return LedgerTableView::tr("Edit");
        if (name == deleteAction()) return LedgerTableView::tr("Delete");
        return {};
    }

    QString localizedActionDescription(const QString& name) const override {
        if (name == editAction()) return LedgerTableView::tr("Edit this transaction");
        if (name == deleteAction()) return LedgerTableView::tr("Delete this transaction");
        return {};
    }

    QStringList keyBindingsForAction(const QString& name) const override {
        if (name == editAction()) return {QStringLiteral("Return"), QStringLiteral("F2")};
        if (name == deleteAction()) return {QStringLiteral("Delete")};
        return {};
    }

    void doAction(const QString& name) override {
        if (!isValid()) return;
        if (name == editAction()) view_->requestEdit(index());
        if (name == deleteAction()) view_->requestDelete(index());
    }

    int row() const { return row_; }

private:
    QModelIndex index() const { return view_->model()->index(row_, 0); }

    QPointer<LedgerTableView> view_;
    int row_;
};

// The ledger as a list of rows, in place of the table Qt would describe.
class ListAccessible : public QAccessibleWidget {
public:
    explicit ListAccessible(LedgerTableView* view) : QAccessibleWidget(view, QAccessible::List) {}

    int childCount() const override { return view()->model() ? view()->model()->rowCount() : 0; }

    QAccessibleInterface* child(int index) const override {
        return index >= 0 && index < childCount() ? view()->accessibleRow(index) : nullptr;
    }

    int indexOfChild(const QAccessibleInterface* child) const override {
        const auto* row = dynamic_cast<const RowAccessible*>(child);
        return row && row->isValid() && view()->accessibleRow(row->row()) == child ? row->row() : -1;
    }

    QAccessibleInterface* childAt(int x, int y) const override {
        const QModelIndex at = view()->indexAt(view()->viewport()->mapFromGlobal(QPoint(x, y)));
        return at.isValid() ? view()->accessibleRow(at.row()) : nullptr;
    }

    QAccessibleInterface* focusChild() const override {
        const QModelIndex current = view()->currentIndex();
        return view()->hasFocus() && current.isValid() ? view()->accessibleRow(current.row()) : nullptr;
    }

private:
    LedgerTableView* view() const { return static_cast<LedgerTableView*>(widget()); }
};

QAccessibleInterface* ledgerAccessible(const QString& className, QObject* object) {
    if (className == QLatin1String(LedgerTableView::staticMetaObject.className())) {
        if (auto* view = qobject_cast<LedgerTableView*>(object)) return new ListAccessible(view);
    }
    return nullptr;
}

}  // namespace

LedgerTableView::LedgerTableView(QWidget* parent) : QTableView(parent) {
    static const bool factoryInstalled = (QAccessible::installFactory(ledgerAccessible), true);
    (void)factoryInstalled;
}

LedgerTableView::~LedgerTableView() {
    forgetAccessibleRows();
}

void LedgerTableView::setModel(QAbstractItemModel* model) {
    if (this->model()) disconnect(this->model(), nullptr, this, nullptr);
    forgetAccessibleRows();
    QTableView::setModel(model);
    if (!model) return;
    // Rows are known by their number: any change of shape renumbers them.
    for (const auto change : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(model, change, this, &LedgerTableView::forgetAccessibleRows);
    connect(model, &QAbstractItemModel::rowsMoved, this, &LedgerTableView::forgetAccessibleRows);
    connect(model, &QAbstractItemModel::modelReset, this, &LedgerTableView::forgetAccessibleRows);
    connect(model, &QAbstractItemModel::layoutChanged, this, &LedgerTableView::forgetAccessibleRows);
}

void LedgerTableView::requestEdit(const QModelIndex& index) {
    if (index.isValid()) emit editRequested(index);
}

void LedgerTableView::requestDelete(const QModelIndex& index) {
    if (index.isValid()) emit deleteRequested(index);
}

QAccessibleInterface* LedgerTableView::accessibleRow(int row) {
    if (const auto known = accessibleRows_.constFind(row); known != accessibleRows_.cend())
        return QAccessible::accessibleInterface(*known);
    auto* item = new RowAccessible(this, row);
    accessibleRows_.insert(row, QAccessible::registerAccessibleInterface(item));
    return item;
}

void LedgerTableView::forgetAccessibleRows() {
    for (const QAccessible::Id id : std::as_const(accessibleRows_))
        QAccessible::deleteAccessibleInterface(id);
    accessibleRows_.clear();
}

bool LedgerTableView::event(QEvent* event) {
    // The row's keys come before the window's shortcuts (Return adds an entry elsewhere).
    if (event->type() == QEvent::ShortcutOverride && currentIndex().isValid() &&
        actionOf(*static_cast<QKeyEvent*>(event)) != KeyAction::none) {
        event->accept();
        return true;
    }
    return QTableView::event(event);
}

void LedgerTableView::keyPressEvent(QKeyEvent* event) {
    const QModelIndex current = currentIndex();
    const KeyAction action = current.isValid() ? actionOf(*event) : KeyAction::none;
    switch (action) {
        case KeyAction::edit: requestEdit(current); break;
        case KeyAction::remove: requestDelete(current); break;
        case KeyAction::menu: {
            const QRect row = visualRect(current);
            emit menuRequested(current, viewport()->mapToGlobal(QPoint(row.left() + 24, row.bottom())));
            break;
        }
        case KeyAction::none: QTableView::keyPressEvent(event); return;
    }
    event->accept();
}

QModelIndex LedgerTableView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    // One column of rows: Home and End go to the first and the last, as in any list.
    if (action == MoveHome || action == MoveEnd) modifiers |= Qt::ControlModifier;
    return QTableView::moveCursor(action, modifiers);
}

void LedgerTableView::contextMenuEvent(QContextMenuEvent* event) {
    QModelIndex index = currentIndex();
    QPoint where = event->globalPos();
    if (event->reason() == QContextMenuEvent::Mouse) {
        index = indexAt(viewport()->mapFromGlobal(event->globalPos()));
        if (index.isValid()) setCurrentIndex(index);
    } else if (index.isValid()) {
        const QRect row = visualRect(index);
        where = viewport()->mapToGlobal(QPoint(row.left() + 24, row.bottom()));
    }
    if (!index.isValid()) return;
    emit menuRequested(index, where);
    event->accept();
}

void LedgerTableView::focusInEvent(QFocusEvent* event) {
    QTableView::focusInEvent(event);
    // Arriving by the keyboard, there is always a row to act on: the first in view.
    if (!currentIndex().isValid() && model() && model()->rowCount() > 0) {
        const QModelIndex top = indexAt(QPoint(1, 1));
        setCurrentIndex(top.isValid() ? top : model()->index(0, 0));
    }
}

void LedgerTableView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    // The table's own notice numbers cells as a grid with headers; this list numbers rows.
    QAbstractItemView::currentChanged(current, previous);  // NOLINT(bugprone-parent-virtual-call): on purpose
    if (QAccessible::isActive() && current.isValid() && hasFocus()) {
        QAccessibleEvent focus(this, QAccessible::Focus);
        focus.setChild(current.row());
        QAccessible::updateAccessibility(&focus);
    }
}

}  // namespace tallywick
