// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <cstddef>

#include <tallywick/ui/ApiLogItemModel.h>

class QLabel;

namespace tallywick {

class AppModel;
class ApiLogListView;

// The Activity pane: the live API traffic between agents and host, newest
// first, under a title that counts the records. It only shows them. The
// rows catch up with the model's log at once when it changes after a quiet
// spell; during a burst they catch up once a frame, so that the pane
// repaints at the screen's rate whatever the rate of the host's events.
class ActivityView : public QWidget {
    Q_OBJECT

public:
    explicit ActivityView(AppModel& model, QWidget* parent = nullptr);

    ApiLogItemModel& items() const { return *items_; }
    ApiLogListView& list() const { return *list_; }
    QLabel& title() const { return *title_; }

    // One frame of the screen the pane is on, in milliseconds.
    int frameInterval() const;

private:
    void logChanged();
    void frameEnded();
    void catchUp();

    AppModel& model_;
    QLabel* title_;
    ApiLogListView* list_;
    ApiLogItemModel* items_;
    QTimer frame_;
    QElapsedTimer sinceCatchUp_;
    std::size_t changesBehind_ = 0;  // changes of the log since the rows last caught up
};

// The pane as the main window's tab shows it.
QWidget* makeActivityView(AppModel& model);

}  // namespace tallywick
