// SPDX-License-Identifier: MIT
#include <tallywick/ui/RootView.h>

#include <QAction>
#include <QHBoxLayout>
#include <QShortcut>
#include <QToolBar>

#include <tallywick/ui/ActivityView.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/ConnectionStatusView.h>
#include <tallywick/ui/ControlStyle.h>
#include <tallywick/ui/RecordsView.h>
#include <tallywick/ui/SettingsPaneView.h>
#include <tallywick/ui/SymbolIcons.h>

namespace tallywick {

RootView::RootView(AppModel& model, QWidget* parent) : QTabWidget(parent), records_(new RecordsView(model)) {
    setObjectName(QStringLiteral("rootView"));
    setDocumentMode(true);
    const auto tint = AppStyle::tint(AppStyle::Foreground::secondary);
    addTab(records_, SymbolIcons::icon("list.bullet.rectangle.portrait", tint), tr("Records"));
    addTab(makeActivityView(model), SymbolIcons::icon("waveform.path.ecg", tint), tr("Activity"));
    addTab(makeSettingsPaneView(model), SymbolIcons::icon("gearshape", tint), tr("Settings"));
    setCurrentIndex(0);
    // The panes switch from anywhere: a list or a field that has the focus
    // would otherwise keep Ctrl+Tab or Ctrl+PageDown for itself.
    const std::pair<QKeySequence, int> steps[] = {
        {QKeySequence(Qt::CTRL | Qt::Key_Tab), 1},
        {QKeySequence(Qt::CTRL | Qt::Key_PageDown), 1},
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab), -1},
        {QKeySequence(Qt::CTRL | Qt::Key_Backtab), -1},
        {QKeySequence(Qt::CTRL | Qt::Key_PageUp), -1},
    };
    for (const auto& [keys, by] : steps) {
        auto* shortcut = new QShortcut(keys, this);
        shortcut->setContext(Qt::WindowShortcut);
        connect(shortcut, &QShortcut::activated, this,
                [this, by = by] { setCurrentIndex((currentIndex() + by + count()) % count()); });
    }
}

QWidget* makeRootView(AppModel& model, QMainWindow& window) {
    // Plain control edges and focus rings for every window of the application.
    ControlStyle::install();
    window.setWindowTitle(QStringLiteral("Tallywick"));
    auto* root = new RootView(model);

    auto* toolbar = new QToolBar(&window);
    toolbar->setObjectName(QStringLiteral("toolbar"));
    toolbar->setMovable(false);
    toolbar->setFloatable(false);
    toolbar->toggleViewAction()->setEnabled(false);
    auto* spacer = new QWidget(toolbar);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    toolbar->addWidget(spacer);
    // The indicator belongs to the records pane and shows with it. Its place
    // stays when it hides, so the strip keeps one height on every pane and
    // the tabs below never move.
    QWidget* status = root->records()->toolbarItem();
    QSizePolicy policy = status->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    status->setSizePolicy(policy);
    auto* place = new QWidget(toolbar);
    place->setObjectName(QStringLiteral("connectionStatusPlace"));
    auto* placeLayout = new QHBoxLayout(place);
    placeLayout->setContentsMargins(0, 0, 0, 0);
    placeLayout->addWidget(status);
    toolbar->addWidget(place);
    window.addToolBar(Qt::TopToolBarArea, toolbar);
    window.setContextMenuPolicy(Qt::NoContextMenu);
    QObject::connect(root, &QTabWidget::currentChanged, status,
                     [root, status](int) { status->setVisible(root->currentWidget() == root->records()); });
    return root;
}

}  // namespace tallywick
