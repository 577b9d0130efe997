// SPDX-License-Identifier: MIT
#include <tallywick/MainWindow.h>

#include <QEvent>

#include <tallywick/AppModel.h>

namespace tallywick {

MainWindow::MainWindow(AppModel& model, const RootViewFactory& rootView, QWidget* parent)
    : QMainWindow(parent), model_(model) {
    QWidget* content = rootView(model, *this);
    content->setMinimumSize(minimumContentSize);
    content->installEventFilter(this);
    setCentralWidget(content);
    resize(defaultSize);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == centralWidget() && event->type() == QEvent::Show && !appeared_) {
        appeared_ = true;
        // As its own task, once the window is on screen; start acts only once per model.
        QMetaObject::invokeMethod(
            &model_, [model = &model_] { model->start(); }, Qt::QueuedConnection);
    }
    return QMainWindow::eventFilter(watched, event);
}

}  // namespace tallywick
