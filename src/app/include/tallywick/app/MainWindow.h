// SPDX-License-Identifier: MIT
#pragma once

#include <QMainWindow>
#include <functional>

namespace tallywick {

class AppModel;

// One window of the application: the root view over the shared model. The
// first time its content appears, the model is started (later windows find
// it started already). The desktop's keys close it (Ctrl+W) and quit the
// application (Ctrl+Q); closing the last window quits too, while the host,
// a process of its own, keeps running.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    // Builds the window's content for the model; it may also fit the window
    // itself (toolbar, title). The window owns what it returns.
    using RootViewFactory = std::function<QWidget*(AppModel& model, QMainWindow& window)>;

    static constexpr QSize defaultSize{1150, 760};
    static constexpr QSize minimumContentSize{900, 600};

    MainWindow(AppModel& model, const RootViewFactory& rootView, QWidget* parent = nullptr);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppModel& model_;
    bool appeared_ = false;
};

}  // namespace tallywick
