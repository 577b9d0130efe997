// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <cstddef>
#include <string>
#include <vector>

#include <tallywick/protocol/ApiLogEntry.h>
#include <tallywick/ui/ApiLogItemModel.h>

class QComboBox;
class QLabel;
class QPlainTextEdit;
class QToolButton;

namespace tallywick {

class AppModel;
class ApiLogListView;
class ApiLogRowView;

// The Activity pane: the live API traffic between agents and host, newest
// first, under a title that counts the records. The rows catch up with the
// model's log at once when it changes after a quiet spell; during a burst
// they catch up once a frame, so that the pane repaints at the screen's rate
// whatever the rate of the host's events.
//
// Above the list, the records can be narrowed by agent, direction and
// method, and the list paused: it then holds still while the records that
// arrive are counted. Below it, the one selected record's whole payload.
class ActivityView : public QWidget {
    Q_OBJECT

public:
    explicit ActivityView(AppModel& model, QWidget* parent = nullptr);

    ApiLogItemModel& items() const { return *items_; }
    ApiLogListView& list() const { return *list_; }
    QLabel& title() const { return *title_; }
    QComboBox& agentChoice() const { return *agent_; }
    QComboBox& directionChoice() const { return *direction_; }
    QComboBox& methodChoice() const { return *method_; }
    QToolButton& pauseToggle() const { return *pause_; }
    QLabel& pausedNote() const { return *pausedNote_; }
    QToolButton& jumpToNewest() const { return *jump_; }
    QWidget& detail() const { return *detail_; }
    QPlainTextEdit& detailText() const { return *detailText_; }

    // One frame of the screen the pane is on, in milliseconds.
    int frameInterval() const;

private:
    void logChanged();
    void frameEnded();
    void catchUp();
    void setPaused(bool paused);
    void filterChosen();
    void offerChoices();
    void countArrivals();
    void showTitle();
    void showJump();
    void showDetail();
    // The log the rows follow: the model's, or what it was when the list was paused.
    const std::vector<ApiLogEntry>& followed() const;
    ApiLogItemModel::Filter filter() const;

    AppModel& model_;
    QLabel* title_;
    ApiLogListView* list_;
    ApiLogItemModel* items_;
    ApiLogRowView* rows_;
    QComboBox* agent_;
    QComboBox* direction_;
    QComboBox* method_;
    QToolButton* pause_;
    QLabel* pausedNote_;
    QToolButton* jump_;
    QWidget* detail_;
    QLabel* detailHeader_;
    QPlainTextEdit* detailText_;
    std::string detailId_;  // the record the detail shows
    QTimer frame_;
    QElapsedTimer sinceCatchUp_;
    std::size_t changesBehind_ = 0;  // changes of the log since the rows last caught up

    // While paused: the log as it was, the newest record counted so far
    // and how many that the filter admits came in since.
    std::vector<ApiLogEntry> frozen_;
    std::string countedUpTo_;
    std::size_t arrivedWhilePaused_ = 0;
};

// The pane as the main window's tab shows it.
QWidget* makeActivityView(AppModel& model);

}  // namespace tallywick
