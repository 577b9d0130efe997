#include <tallywick/RootView.h>

#include <QAction>
#include <QToolBar>

#include <tallywick/ActivityView.h>
#include <tallywick/AppStyle.h>
#include <tallywick/ConnectionStatusView.h>
#include <tallywick/RecordsView.h>
#include <tallywick/SettingsPaneView.h>
#include <tallywick/SymbolIcons.h>

namespace tallywick {

RootView::RootView(AppModel& model, QWidget* parent) : QTabWidget(parent), records_(new RecordsView(model)) {
    setObjectName(QStringLiteral("rootView"));
    setDocumentMode(true);
    const auto tint = AppStyle::tint(AppStyle::Foreground::secondary);
    addTab(records_, SymbolIcons::icon("list.bullet.rectangle.portrait", tint), tr("Records"));
    addTab(makeActivityView(model), SymbolIcons::icon("waveform.path.ecg", tint), tr("Activity"));
    addTab(makeSettingsPaneView(model), SymbolIcons::icon("gearshape", tint), tr("Settings"));
    setCurrentIndex(0);
}

QWidget* makeRootView(AppModel& model, QMainWindow& window) {
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
    QAction* status = toolbar->addWidget(root->records()->toolbarItem());
    window.addToolBar(Qt::TopToolBarArea, toolbar);
    window.setContextMenuPolicy(Qt::NoContextMenu);

    // The indicator belongs to the records pane and shows with it.
    QObject::connect(root, &QTabWidget::currentChanged, status,
                     [root, status](int) { status->setVisible(root->currentWidget() == root->records()); });
    return root;
}

}  // namespace tallywick
