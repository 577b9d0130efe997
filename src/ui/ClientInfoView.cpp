// SPDX-License-Identifier: MIT
#include <tallywick/ui/ClientInfoView.h>

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/StyledLabel.h>

namespace tallywick {
namespace {

using AppStyle::Foreground;
using AppStyle::TextStyle;

constexpr int kKeyWidth = 96;

// One field: its key in a fixed column, then the value, which can be selected.
QWidget* makeClientInfoRow(const ClientInfoField& field, QWidget* parent) {
    auto* row = new QWidget(parent);
    row->setObjectName(QStringLiteral("clientInfoRow"));
    auto* key = new StyledLabel(AppStyle::monospacedSmall(), AppStyle::tint(Foreground::secondary), row);
    key->setObjectName(QStringLiteral("clientInfoKey"));
    // A key wider than its column ends in an ellipsis, and shows whole as its tooltip.
    const QString keyText = QString::fromStdString(field.key);
    const QString whole = DataText::isolated(keyText);
    const QString shown = QFontMetrics(key->font()).elidedText(whole, Qt::ElideRight, kKeyWidth);
    key->setText(shown);
    key->setAccessibleName(keyText);
    if (shown != whole) key->setToolTip(DataText::literalRichText(keyText));
    key->setFixedWidth(kKeyWidth);
    key->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    auto* value = new StyledLabel(TextStyle::caption, Foreground::primary, row);
    value->setObjectName(QStringLiteral("clientInfoValue"));
    value->setDataText(QString::fromStdString(field.value));
    value->setWordWrap(true);
    value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // Left whatever the text's direction: a selectable label takes its
    // direction from the first letter, even one inside the isolation.
    value->setAlignment(Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignTop);

    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(key, 0, Qt::AlignTop);
    layout->addWidget(value, 1, Qt::AlignTop);
    return row;
}

}  // namespace

ClientInfoView::ClientInfoView(QWidget* parent)
    : QGroupBox(tr("Client Info"), parent),
      rows_(new QWidget(this)),
      rowsLayout_(new QVBoxLayout(rows_)),
      hint_(new StyledLabel(TextStyle::caption, Foreground::tertiary, this)) {
    setObjectName(QStringLiteral("clientInfo"));
    rowsLayout_->setContentsMargins(0, 0, 0, 0);
    rowsLayout_->setSpacing(4);
    hint_->setObjectName(QStringLiteral("clientInfoHint"));
    hint_->setText(tr("Not provided by this client."));

    auto* column = new QVBoxLayout(this);
    column->setSpacing(4);
    column->addWidget(rows_);
    column->addWidget(hint_);
    setFields(std::nullopt);
}

void ClientInfoView::setFields(const std::optional<std::vector<ClientInfoField>>& fields) {
    static const std::vector<ClientInfoField> none;
    const std::vector<ClientInfoField>& next = fields ? *fields : none;
    if (next == fields_ && (rowsLayout_->count() > 0 || next.empty())) {
        hint_->setVisible(next.empty());
        return;
    }
    fields_ = next;
    while (QLayoutItem* item = rowsLayout_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const ClientInfoField& field : fields_) rowsLayout_->addWidget(makeClientInfoRow(field, rows_));
    // The hint takes no room at all while there are fields.
    rows_->setVisible(!fields_.empty());
    hint_->setVisible(fields_.empty());
}

}  // namespace tallywick
