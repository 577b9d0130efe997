#include <tallywick/EditorButtonsView.h>

#include <QHBoxLayout>
#include <QShortcut>

#include <tallywick/ProminentButton.h>

namespace tallywick {

EditorButtonsView::EditorButtonsView(std::function<void()> onCancel, std::function<void()> onSave,
                                     QWidget* parent)
    : QWidget(parent),
      cancel_(new QPushButton(tr("Cancel"), this)),
      save_(new ProminentButton(tr("Save"), this)) {
    setObjectName(QStringLiteral("editorButtons"));
    cancel_->setObjectName(QStringLiteral("cancelButton"));
    save_->setObjectName(QStringLiteral("saveButton"));
    // The keys belong to the buttons, not to whichever field has the focus.
    cancel_->setAutoDefault(false);
    save_->setAutoDefault(false);
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
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* save = new QShortcut(QKeySequence(key), this);
        save->setContext(Qt::WindowShortcut);
        connect(save, &QShortcut::activated, save_, &QPushButton::click);
    }
}

}  // namespace tallywick
