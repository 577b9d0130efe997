// SPDX-License-Identifier: MIT
#include <tallywick/app/PlaceholderRootView.h>

#include <QLabel>
#include <QVBoxLayout>

#include <tallywick/app/AppModel.h>

namespace tallywick {

QWidget* makePlaceholderRootView(AppModel& model, QMainWindow& window) {
    window.setWindowTitle(QStringLiteral("Tallywick"));
    auto* view = new QWidget;
    auto* layout = new QVBoxLayout(view);
    auto* status = new QLabel(view);
    status->setAlignment(Qt::AlignCenter);
    layout->addWidget(status);

    auto update = [status, &model] {
        status->setText(QStringLiteral("Host %1 · %2 accounts · %3 entries")
                            .arg(model.isConnected() ? QStringLiteral("online") : QStringLiteral("offline"))
                            .arg(model.accounts().size())
                            .arg(model.entries().size()));
    };
    update();
    QObject::connect(&model, &AppModel::isConnectedChanged, status, update);
    QObject::connect(&model, &AppModel::accountsChanged, status, update);
    QObject::connect(&model, &AppModel::entriesChanged, status, update);
    return view;
}

}  // namespace tallywick
