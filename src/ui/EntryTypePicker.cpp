// SPDX-License-Identifier: MIT
#include <tallywick/ui/EntryTypePicker.h>

#include <QAbstractItemView>
#include <QAccessibleWidget>

namespace tallywick {
namespace {

class PickerAccessible : public QAccessibleWidget {
public:
    explicit PickerAccessible(QComboBox* box) : QAccessibleWidget(box, QAccessible::ComboBox) {}

    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name) return box()->accessibleName();
        if (kind == QAccessible::Value) return box()->currentText();
        return QAccessibleWidget::text(kind);
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.expandable = true;
        state.expanded = box()->view()->isVisible();
        return state;
    }

    // The popup's list, as Qt's own combo box gives it.
    int childCount() const override { return 1; }
    QAccessibleInterface* child(int index) const override {
        return index == 0 ? QAccessible::queryAccessibleInterface(box()->view()) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child && child->object() == box()->view() ? 0 : -1;
    }

    QStringList actionNames() const override {
        return QStringList{showMenuAction()} + QAccessibleWidget::actionNames();
    }
    void doAction(const QString& name) override {
        if (name == showMenuAction() || name == pressAction()) {
            box()->showPopup();
            return;
        }
        QAccessibleWidget::doAction(name);
    }

private:
    QComboBox* box() const { return static_cast<QComboBox*>(widget()); }
};

QAccessibleInterface* pickerAccessible(const QString& className, QObject* object) {
    if (className == QLatin1String(EntryTypePicker::staticMetaObject.className())) {
        if (auto* picker = qobject_cast<EntryTypePicker*>(object)) return new PickerAccessible(picker);
    }
    return nullptr;
}

}  // namespace

EntryTypePicker::EntryTypePicker(QWidget* parent) : QComboBox(parent) {
    static const bool factoryInstalled = (QAccessible::installFactory(pickerAccessible), true);
    (void)factoryInstalled;
}

}  // namespace tallywick
