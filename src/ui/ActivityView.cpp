// SPDX-License-Identifier: MIT
#include <tallywick/ui/ActivityView.h>

#include <QComboBox>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QPlainTextEdit>
#include <QScreen>
#include <QScrollBar>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <set>

#include <tallywick/app/AppModel.h>
#include <tallywick/app/DataText.h>
#include <tallywick/model/JsonIndent.h>
#include <tallywick/ui/ApiLogHeaderLine.h>
#include <tallywick/ui/ApiLogListView.h>
#include <tallywick/ui/ApiLogRowView.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/CardFrame.h>
#include <tallywick/ui/DirectionBadge.h>
#include <tallywick/ui/StyledLabel.h>
#include <tallywick/ui/SymbolIcons.h>

namespace tallywick {
namespace {

QComboBox* makeChoice(const QString& objectName, const QString& all, const QString& accessibleName) {
    auto* choice = new QComboBox;
    choice->setObjectName(objectName);
    choice->addItem(all);
    choice->setAccessibleName(accessibleName);
    choice->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    choice->setMinimumContentsLength(8);
    return choice;
}

// The texts on offer after "All …": those in the log, sorted, and the one
// chosen even once it has left the log, so that a choice never changes by itself.
void offer(QComboBox& choice, std::set<QString> texts) {
    if (choice.currentIndex() > 0) texts.insert(choice.currentText());
    QStringList wanted(texts.begin(), texts.end());
    QStringList offered;
    for (int i = 1; i < choice.count(); ++i) offered << choice.itemText(i);
    if (offered == wanted) return;
    const QString chosen = choice.currentIndex() > 0 ? choice.currentText() : QString();
    const QSignalBlocker quiet(choice);
    while (choice.count() > 1) choice.removeItem(1);
    choice.addItems(wanted);
    choice.setCurrentIndex(chosen.isNull() ? 0 : static_cast<int>(wanted.indexOf(chosen)) + 1);
}

QToolButton* makeToolButton(const QString& objectName, const QString& text, std::string_view symbol) {
    auto* button = new QToolButton;
    button->setObjectName(objectName);
    button->setText(text);
    button->setIcon(SymbolIcons::icon(symbol, AppStyle::tint(AppStyle::Foreground::secondary)));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    return button;
}

}  // namespace

ActivityView::ActivityView(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      title_(new StyledLabel(AppStyle::sectionTitleFont(), AppStyle::tint(AppStyle::Foreground::primary))),
      list_(new ApiLogListView),
      items_(new ApiLogItemModel(this)),
      rows_(new ApiLogRowView(this)),
      agent_(makeChoice(QStringLiteral("activityAgent"), tr("All agents"), tr("Agent"))),
      direction_(makeChoice(QStringLiteral("activityDirection"), tr("All directions"), tr("Direction"))),
      method_(makeChoice(QStringLiteral("activityMethod"), tr("All methods"), tr("Method"))),
      pause_(makeToolButton(QStringLiteral("activityPause"), tr("Pause"), "pause")),
      pausedNote_(new StyledLabel(AppStyle::TextStyle::caption, AppStyle::Foreground::secondary)),
      jump_(makeToolButton(QStringLiteral("activityJump"), tr("Jump to newest"), "arrow.up.to.line")),
      detail_(new CardFrame),
      detailHeader_(new StyledLabel(AppStyle::TextStyle::caption, AppStyle::Foreground::secondary)),
      detailText_(new QPlainTextEdit) {
    setObjectName(QStringLiteral("activityView"));
    title_->setObjectName(QStringLiteral("activityTitle"));
    list_->setModel(items_);
    list_->setItemDelegate(rows_);

    for (const Direction direction : {Direction::request, Direction::response, Direction::notification})
        direction_->addItem(DirectionBadge::name(direction), static_cast<int>(direction));
    for (QComboBox* choice : {agent_, direction_, method_})
        connect(choice, &QComboBox::currentIndexChanged, this, &ActivityView::filterChosen);
    pause_->setCheckable(true);
    pause_->setToolTip(tr("Hold the list still; new records are counted meanwhile"));
    connect(pause_, &QToolButton::toggled, this, &ActivityView::setPaused);
    pausedNote_->setObjectName(QStringLiteral("activityPausedNote"));
    pausedNote_->hide();
    jump_->setToolTip(tr("Scroll to the newest record"));
    connect(jump_, &QToolButton::clicked, list_, &QListView::scrollToTop);
    connect(list_->verticalScrollBar(), &QScrollBar::valueChanged, this, &ActivityView::showJump);
    // Appearing and going must not move the filters beside it.
    QSizePolicy keepRoom = jump_->sizePolicy();
    keepRoom.setRetainSizeWhenHidden(true);
    jump_->setSizePolicy(keepRoom);
    jump_->hide();

    auto* tools = new QHBoxLayout;
    tools->setContentsMargins(12, 0, 12, 0);
    tools->setSpacing(6);
    tools->addWidget(agent_);
    tools->addWidget(direction_);
    tools->addWidget(method_);
    tools->addStretch(1);
    tools->addWidget(jump_);
    tools->addWidget(pausedNote_);
    tools->addWidget(pause_);

    auto* card = new CardFrame;
    card->setObjectName(QStringLiteral("activityCard"));
    auto* cardLayout = new QVBoxLayout(card);
    // Inside the card's rounded corners.
    cardLayout->setContentsMargins(2, 6, 2, 6);
    cardLayout->addWidget(list_);

    detail_->setObjectName(QStringLiteral("activityDetail"));
    detailHeader_->setObjectName(QStringLiteral("activityDetailHeader"));
    detailText_->setObjectName(QStringLiteral("activityDetailText"));
    detailText_->setReadOnly(true);
    detailText_->setFont(AppStyle::monospacedSmall());
    detailText_->setFrameShape(QFrame::NoFrame);
    detailText_->setAccessibleName(tr("Payload"));
    detailText_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* detailLayout = new QVBoxLayout(detail_);
    detailLayout->setContentsMargins(12, 8, 4, 6);
    detailLayout->setSpacing(4);
    detailLayout->addWidget(detailHeader_);
    detailLayout->addWidget(detailText_, 1);
    detail_->hide();

    // The detail takes room from the list only while a record is selected,
    // and as much as the person drags it to.
    auto* split = new QSplitter(Qt::Vertical);
    split->setObjectName(QStringLiteral("activitySplit"));
    split->setChildrenCollapsible(false);
    split->addWidget(card);
    split->addWidget(detail_);
    split->setStretchFactor(0, 2);
    split->setStretchFactor(1, 1);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    auto* titleRow = new QHBoxLayout;
    titleRow->setContentsMargins(16, 12, 16, 0);
    titleRow->addWidget(title_);
    column->addLayout(titleRow);
    column->addLayout(tools);
    auto* cardRow = new QVBoxLayout;
    cardRow->setContentsMargins(12, 0, 12, 12);
    cardRow->addWidget(split);
    column->addLayout(cardRow, 1);

    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ActivityView::showDetail);
    // A selected row that falls off the end takes its selection along unannounced.
    connect(items_, &QAbstractItemModel::rowsRemoved, this, &ActivityView::showDetail);
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

const std::vector<ApiLogEntry>& ActivityView::followed() const {
    return pause_->isChecked() ? frozen_ : model_.apiLog();
}

ApiLogItemModel::Filter ActivityView::filter() const {
    ApiLogItemModel::Filter chosen;
    if (agent_->currentIndex() > 0) chosen.agent = agent_->currentText().toStdString();
    if (direction_->currentIndex() > 0)
        chosen.direction = static_cast<Direction>(direction_->currentData().toInt());
    if (method_->currentIndex() > 0) chosen.method = method_->currentText().toStdString();
    return chosen;
}

void ActivityView::logChanged() {
    if (pause_->isChecked()) {
        countArrivals();
        return;
    }
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
    if (changesBehind_ > 0 && !pause_->isChecked()) catchUp();
}

void ActivityView::catchUp() {
    // New rows arrive at the top; unless the list is at its top, they must
    // not push down the rows being read.
    QScrollBar* bar = list_->verticalScrollBar();
    const QPersistentModelIndex anchor(bar->value() > 0 ? list_->indexAt(QPoint(1, 1)) : QModelIndex());
    const int anchorTop = anchor.isValid() ? list_->visualRect(anchor).top() : 0;
    items_->follow(followed(), filter());
    // Laid out now rather than on the view's own timer, which a stream of
    // events can hold off: what the next paint shows is the log as it is.
    list_->doItemsLayout();
    if (anchor.isValid()) bar->setValue(bar->value() + list_->visualRect(anchor).top() - anchorTop);
    offerChoices();
    showTitle();
    showJump();
    changesBehind_ = 0;
    sinceCatchUp_.start();
    frame_.start(frameInterval());
}

void ActivityView::offerChoices() {
    std::set<QString> agents, methods;
    for (const ApiLogEntry& entry : followed()) {
        if (entry.clientLabel) agents.insert(QString::fromStdString(*entry.clientLabel));
        if (entry.method) methods.insert(QString::fromStdString(*entry.method));
    }
    offer(*agent_, std::move(agents));
    offer(*method_, std::move(methods));
}

void ActivityView::filterChosen() {
    catchUp();
    if (!pause_->isChecked()) return;
    // Counted afresh for what the new choice admits, as far back as the log still reaches.
    const std::string frozenNewest = frozen_.empty() ? std::string() : frozen_.front().id;
    const ApiLogItemModel::Filter now = filter();
    std::size_t arrived = 0;
    for (const ApiLogEntry& entry : model_.apiLog()) {
        if (entry.id == frozenNewest) break;
        if (now.admits(entry)) ++arrived;
    }
    arrivedWhilePaused_ = arrived;
    pausedNote_->setText(tr("Paused, %1 new").arg(static_cast<qlonglong>(arrivedWhilePaused_)));
}

void ActivityView::setPaused(bool paused) {
    if (paused) {
        frozen_ = model_.apiLog();
        countedUpTo_ = frozen_.empty() ? std::string() : frozen_.front().id;
        arrivedWhilePaused_ = 0;
        pausedNote_->setText(tr("Paused, %1 new").arg(0));
        pausedNote_->show();
        pause_->setText(tr("Resume"));
        pause_->setIcon(SymbolIcons::icon("play", AppStyle::tint(AppStyle::Foreground::secondary)));
        frame_.stop();
        return;
    }
    pausedNote_->hide();
    pause_->setText(tr("Pause"));
    pause_->setIcon(SymbolIcons::icon("pause", AppStyle::tint(AppStyle::Foreground::secondary)));
    frozen_.clear();
    catchUp();
}

void ActivityView::countArrivals() {
    // The records newer than the newest counted so far, which the filter admits.
    const std::vector<ApiLogEntry>& log = model_.apiLog();
    const ApiLogItemModel::Filter now = filter();
    for (const ApiLogEntry& entry : log) {
        if (entry.id == countedUpTo_) break;
        if (now.admits(entry)) ++arrivedWhilePaused_;
    }
    if (!log.empty()) countedUpTo_ = log.front().id;
    pausedNote_->setText(tr("Paused, %1 new").arg(static_cast<qlonglong>(arrivedWhilePaused_)));
}

void ActivityView::showTitle() {
    const auto shown = static_cast<qlonglong>(items_->rowCount());
    title_->setText(
        filter().isEmpty()
            ? tr("Live API Activity (%1)").arg(shown)
            : tr("Live API Activity (%1 of %2)").arg(shown).arg(static_cast<qlonglong>(followed().size())));
}

void ActivityView::showJump() {
    jump_->setVisible(list_->verticalScrollBar()->value() > 0);
}

void ActivityView::showDetail() {
    const QModelIndexList selected = list_->selectionModel()->selectedRows();
    const ApiLogItemModel::Row* row = selected.size() == 1 ? items_->rowAt(selected.front()) : nullptr;
    if (!row) {
        detail_->hide();
        detailText_->clear();
        detailId_.clear();
        return;
    }
    const ApiLogEntry& entry = row->entry;
    if (entry.id == detailId_) return;
    detailId_ = entry.id;
    QStringList header{DirectionBadge::name(entry.direction),
                       DataText::isolated(ApiLogHeaderLine::methodText(entry))};
    if (entry.clientLabel) header << DataText::isolated(*entry.clientLabel);
    header << ApiLogHeaderLine::timeText(entry.timestamp);
    detailHeader_->setText(header.join(QStringLiteral(" \u00B7 ")));
    // What the agent sent, laid out; as it came when it is not JSON.
    const std::optional<std::string> indented = indentJson(entry.payload);
    detailText_->setPlainText(QString::fromStdString(indented ? *indented : entry.payload));
    detail_->show();
}

QWidget* makeActivityView(AppModel& model) {
    return new ActivityView(model);
}

}  // namespace tallywick
