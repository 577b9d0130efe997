// SPDX-License-Identifier: MIT
#include <tallywick/app/MainWindow.h>

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QKeySequence>

#include <tallywick/app/AppModel.h>

namespace tallywick {
namespace {

// The platform's keys for a command, and always the Linux desktops' one:
// platforms that follow Windows' keys (Qt's offscreen one) have no Quit key.
QList<QKeySequence> keysFor(QKeySequence::StandardKey command, const QKeySequence& linuxKey) {
    QList<QKeySequence> keys = QKeySequence::keyBindings(command);
    if (!keys.contains(linuxKey)) keys.append(linuxKey);
    return keys;
}

}  // namespace

MainWindow::MainWindow(AppModel& model, const RootViewFactory& rootView, QWidget* parent)
    : QMainWindow(parent), model_(model) {
    QWidget* content = rootView(model, *this);
    content->setMinimumSize(minimumContentSize);
    content->installEventFilter(this);
    setCentralWidget(content);
    resize(defaultSize);

    auto* close = new QAction(tr("Close Window"), this);
    close->setShortcuts(keysFor(QKeySequence::Close, QKeySequence(Qt::CTRL | Qt::Key_W)));
    connect(close, &QAction::triggered, this, &QWidget::close);
    addAction(close);
    auto* quit = new QAction(tr("Quit Tallywick"), this);
    quit->setShortcuts(keysFor(QKeySequence::Quit, QKeySequence(Qt::CTRL | Qt::Key_Q)));
    // Queued, so that the key event is done with before the windows close.
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    addAction(quit);
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
