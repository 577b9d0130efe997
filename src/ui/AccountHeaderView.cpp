// SPDX-License-Identifier: MIT
#include <tallywick/ui/AccountHeaderView.h>

#include <QEvent>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/DeleteAccountConfirmation.h>
#include <tallywick/ui/RenameSheet.h>
#include <tallywick/ui/StyledLabel.h>
#include <tallywick/ui/SymbolIcons.h>

namespace tallywick {
namespace {

using AppStyle::Foreground;
using AppStyle::TextStyle;

constexpr int kBalanceTopPadding = 4;
constexpr int kBalanceSpacing = 6;

// An icon-only bordered button; its label lives on as tooltip and accessible name.
QPushButton* iconButton(const QString& label, const char* symbol, AppStyle::Tint tint, QWidget* parent) {
    auto* button = new QPushButton(parent);
    button->setIcon(SymbolIcons::icon(symbol, std::move(tint)));
    button->setIconSize(QSize(16, 16));
    button->setToolTip(label);
    button->setAccessibleName(label);
    button->setFixedSize(34, 28);
    button->setAutoDefault(false);
    return button;
}

QString pointsText() {
    return AccountBalanceView::tr("points");
}

}  // namespace

AccountBalanceView::AccountBalanceView(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("accountBalance"));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAccessibleName(balanceText() + QLatin1Char(' ') + pointsText());
}

void AccountBalanceView::setBalance(std::int64_t balance) {
    if (balance == balance_) return;
    const QSize before = sizeHint();
    balance_ = balance;
    setAccessibleName(balanceText() + QLatin1Char(' ') + pointsText());
    // A new width of figures is the only reason to lay the header out again.
    if (sizeHint() != before) updateGeometry();
    update();
}

QString AccountBalanceView::balanceText() const {
    return AppStyle::plainAmountText(balance_);
}

QColor AccountBalanceView::balanceColor() const {
    return AppStyle::amountColor(balance_, palette());
}

QSize AccountBalanceView::sizeHint() const {
    const QFontMetrics big(AppStyle::balanceFont());
    const QFontMetrics small(AppStyle::font(TextStyle::callout));
    const int width =
        big.horizontalAdvance(balanceText()) + kBalanceSpacing + small.horizontalAdvance(pointsText());
    return {width, kBalanceTopPadding + big.height()};
}

void AccountBalanceView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const QFont bigFont = AppStyle::balanceFont();
    const QFont smallFont = AppStyle::font(TextStyle::callout);
    const QFontMetrics big(bigFont);
    const int baseline = kBalanceTopPadding + big.ascent();

    painter.setFont(bigFont);
    painter.setPen(balanceColor());
    painter.drawText(QPoint(0, baseline), balanceText());
    painter.setFont(smallFont);
    painter.setPen(AppStyle::foreground(palette(), Foreground::secondary));
    painter.drawText(QPoint(big.horizontalAdvance(balanceText()) + kBalanceSpacing, baseline), pointsText());
}

void AccountBalanceView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) updateGeometry();
}

AccountHeaderView::AccountHeaderView(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      name_(new StyledLabel(AppStyle::font(TextStyle::title2), AppStyle::tint(Foreground::primary), this)),
      id_(new StyledLabel(AppStyle::monospacedSmall(), AppStyle::tint(Foreground::tertiary), this)),
      balance_(new AccountBalanceView(this)),
      rename_(iconButton(tr("Rename"), "pencil", AppStyle::tint(Foreground::primary), this)),
      delete_(iconButton(
          tr("Delete"), "trash", [](const QPalette& p) { return AppStyle::debitColor(p); }, this)) {
    setObjectName(QStringLiteral("accountHeader"));
    QFont nameFont = name_->font();
    nameFont.setBold(true);
    name_->setFont(nameFont);
    name_->setObjectName(QStringLiteral("accountName"));
    name_->setWordWrap(true);
    id_->setObjectName(QStringLiteral("accountId"));
    id_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    id_->setCursor(Qt::IBeamCursor);
    rename_->setObjectName(QStringLiteral("renameButton"));
    delete_->setObjectName(QStringLiteral("deleteAccountButton"));

    auto* identity = new QVBoxLayout;
    identity->setSpacing(4);
    identity->addWidget(name_);
    identity->addWidget(id_);
    identity->addWidget(balance_);

    auto* actions = new QHBoxLayout;
    actions->setSpacing(8);
    actions->addWidget(rename_);
    actions->addWidget(delete_);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addLayout(identity, 1);
    row->addLayout(actions);
    row->setAlignment(actions, Qt::AlignTop);

    connect(rename_, &QPushButton::clicked, this, &AccountHeaderView::beginRename);
    connect(delete_, &QPushButton::clicked, this, &AccountHeaderView::beginDelete);
}

void AccountHeaderView::setAccount(const Account& account) {
    account_ = account;
    name_->setDataText(QString::fromStdString(account.displayName));
    id_->setTextFixingSize(QString::fromStdString(account.id));
    balance_->setBalance(account.balance);
}

RenameSheet* AccountHeaderView::renameSheet() const {
    return renaming_.data();
}

QMessageBox* AccountHeaderView::deleteConfirmation() const {
    return confirming_.data();
}

void AccountHeaderView::beginRename() {
    if (renaming_) return;
    renaming_ = new RenameSheet(model_, account_.id, account_.displayName, this);
    renaming_->open();
}

void AccountHeaderView::beginDelete() {
    if (confirming_) return;
    // The account as it is now: a later refresh does not redirect the answer.
    confirming_ =
        confirmAccountDeletion(this, [model = &model_, id = account_.id] { model->deleteAccount(id); });
}

}  // namespace tallywick
