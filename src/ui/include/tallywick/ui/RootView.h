// SPDX-License-Identifier: MIT
#pragma once

#include <QMainWindow>
#include <QTabWidget>

namespace tallywick {

class AppModel;
class RecordsView;

// The window's content: three tabs, Records, Activity and Settings, in that
// order; the first shows when the window opens.
class RootView : public QTabWidget {
    Q_OBJECT

public:
    explicit RootView(AppModel& model, QWidget* parent = nullptr);

    RecordsView* records() const { return records_; }

private:
    RecordsView* records_;
};

// Fits the window out for the root view (title, a toolbar with the records
// pane's connection indicator, shown while that pane is) and returns the view.
QWidget* makeRootView(AppModel& model, QMainWindow& window);

}  // namespace tallywick
