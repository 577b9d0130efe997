// SPDX-License-Identifier: MIT
#include <tallywick/ui/ActivityView.h>

#include <QLabel>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/ApiLogListView.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/CardFrame.h>
#include <tallywick/ui/StyledLabel.h>

namespace tallywick {

ActivityView::ActivityView(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      title_(new StyledLabel(AppStyle::sectionTitleFont(), AppStyle::tint(AppStyle::Foreground::primary))),
      list_(new ApiLogListView),
      items_(new ApiLogItemModel(this)) {
    setObjectName(QStringLiteral("activityView"));
    title_->setObjectName(QStringLiteral("activityTitle"));
    list_->setModel(items_);

    // The list inset from the pane's edges, on a card of its own.
    auto* card = new CardFrame;
    card->setObjectName(QStringLiteral("activityCard"));
    auto* cardLayout = new QVBoxLayout(card);
    // Inside the card's rounded corners.
    cardLayout->setContentsMargins(2, 6, 2, 6);
    cardLayout->addWidget(list_);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    auto* titleRow = new QHBoxLayout;
    titleRow->setContentsMargins(16, 12, 16, 0);
    titleRow->addWidget(title_);
    column->addLayout(titleRow);
    auto* cardRow = new QVBoxLayout;
    cardRow->setContentsMargins(12, 0, 12, 12);
    cardRow->addWidget(card);
    column->addLayout(cardRow, 1);

    frame_.setSingleShot(true);
    frame_.setTimerType(Qt::PreciseTimer);
    connect(&frame_, &QTimer::timeout, this, &ActivityView::frameEnded);
    connect(&model_, &AppModel::apiLogChanged, this, &ActivityView::logChanged);
    catchUp();
}

int ActivityView::frameInterval() const {
    const QScreen* on = screen();
    const qreal rate = on && on->refreshRate() > 1 ? on->refreshRate() : 60;
    return std::max(1, qRound(1000 / rate));
}

void ActivityView::logChanged() {
    ++changesBehind_;
    // At once after a quiet spell; during a burst once a frame, also when
    // the stream of events keeps the frame's timer from firing; and before
    // so many records came in that the newest row shown has left the log,
    // so that every record still goes in as a row of its own.
    if (!frame_.isActive() || sinceCatchUp_.elapsed() >= frameInterval() ||
        changesBehind_ >= AppModel::apiLogCapacity / 2)
        catchUp();
}

void ActivityView::frameEnded() {
    if (changesBehind_ > 0) catchUp();
}

void ActivityView::catchUp() {
    // New rows arrive at the top; unless the list is at its top, they must
    // not push down the rows being read.
    QScrollBar* bar = list_->verticalScrollBar();
    const QPersistentModelIndex anchor(bar->value() > 0 ? list_->indexAt(QPoint(1, 1)) : QModelIndex());
    const int anchorTop = anchor.isValid() ? list_->visualRect(anchor).top() : 0;
    items_->follow(model_.apiLog());
    // Laid out now rather than on the view's own timer, which a stream of
    // events can hold off: what the next paint shows is the log as it is.
    list_->doItemsLayout();
    if (anchor.isValid()) bar->setValue(bar->value() + list_->visualRect(anchor).top() - anchorTop);
    title_->setText(tr("Live API Activity (%1)").arg(static_cast<qlonglong>(model_.apiLog().size())));
    changesBehind_ = 0;
    sinceCatchUp_.start();
    frame_.start(frameInterval());
}

QWidget* makeActivityView(AppModel& model) {
    return new ActivityView(model);
}

}  // namespace tallywick
