// SPDX-License-Identifier: MIT
#include <tallywick/ui/EditorButtonsView.h>

#include <QHBoxLayout>
#include <QShortcut>

#include <tallywick/ui/ProminentButton.h>

namespace tallywick {

EditorButtonsView::EditorButtonsView(const std::function<void()>& onCancel,
                                     const std::function<void()>& onSave, QWidget* parent)
    : QWidget(parent),
      cancel_(new QPushButton(tr("Cancel"), this)),
      save_(new ProminentButton(tr("Save"), this)) {
    setObjectName(QStringLiteral("editorButtons"));
    cancel_->setObjectName(QStringLiteral("cancelButton"));
    save_->setObjectName(QStringLiteral("saveButton"));
    // Return saves from the fields, and presses a button that has the focus:
    // the dialog's default button moves to the focused one and back.
    cancel_->setAutoDefault(true);
    save_->setAutoDefault(true);
    save_->setDefault(true);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addStretch(1);
    row->addWidget(cancel_);
    row->addWidget(save_);

    connect(cancel_, &QPushButton::clicked, this, [onCancel] {
        if (onCancel) onCancel();
    });
    connect(save_, &QPushButton::clicked, this, [onSave] {
        if (onSave) onSave();
    });
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    escape->setContext(Qt::WindowShortcut);
    connect(escape, &QShortcut::activated, cancel_, &QPushButton::click);
}

}  // namespace tallywick
