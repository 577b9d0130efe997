// SPDX-License-Identifier: MIT
#include <tallywick/ui/AddEntryView.h>

#include <QAbstractButton>
#include <QApplication>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QShortcut>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/AmountText.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/EntryFields.h>
#include <tallywick/ui/ProminentButton.h>

namespace tallywick {

AddEntryView::AddEntryView(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      fields_(new EntryFields(this)),
      add_(new ProminentButton(tr("Add"), this)) {
    setObjectName(QStringLiteral("addEntryView"));
    add_->setObjectName(QStringLiteral("addButton"));
    add_->setAutoDefault(false);
    // Room around its word in any language, not only the style's thin margin.
    add_->setMinimumWidth(add_->fontMetrics().horizontalAdvance(add_->text()) + 32);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(10, 10, 10, 10);
    row->setSpacing(10);
    row->addWidget(fields_, 1);
    row->addWidget(add_);

    // Return without modifiers, anywhere in the window, while Add is enabled;
    // a button that has the focus takes Return for itself, as it does elsewhere.
    returnKey_ = new QShortcut(QKeySequence(Qt::Key_Return), this);
    returnKey_->setContext(Qt::WindowShortcut);
    connect(returnKey_, &QShortcut::activated, this, [this] {
        auto* focused = qobject_cast<QAbstractButton*>(QApplication::focusWidget());
        (focused && focused->window() == window() ? focused : add_)->click();
    });
    connect(add_, &QPushButton::clicked, this, &AddEntryView::add);
    connect(fields_, &EntryFields::edited, this, &AddEntryView::showEnabled);
    showEnabled();
}

void AddEntryView::showEnabled() {
    const bool can = AmountText::canAdd(fields_->type(), fields_->amountText(), fields_->memo());
    add_->setEnabled(can);
    returnKey_->setEnabled(can);
}

void AddEntryView::add() {
    const EntryType type = fields_->type();
    if (!AmountText::canAdd(type, fields_->amountText(), fields_->memo())) return;
    const QByteArray memo = fields_->memo().toUtf8();
    model_.createEntry({.accountId = accountId_,
                        .kind = kindOf(type),
                        .flag = flagOf(type),
                        .amount = AmountText::amountToSend(type, fields_->amountText()),
                        .memo = std::string(memo.constData(), static_cast<std::size_t>(memo.size()))});
    // Cleared now, whatever the host later answers. Add goes disabled with
    // the fields empty and would hand the focus on to whatever comes next:
    // the next entry starts in Amount instead.
    fields_->setAmountText({});
    fields_->setMemo({});
    fields_->amountField()->setFocus(Qt::OtherFocusReason);
}

void AddEntryView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = AppStyle::foreground(palette(), AppStyle::Foreground::quaternary);
    fill.setAlphaF(fill.alphaF() * 0.4F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()), 8, 8);
}

}  // namespace tallywick
