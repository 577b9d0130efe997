// SPDX-License-Identifier: MIT
#include <tallywick/ui/ConnectionStatusView.h>

#include <QFontMetrics>
#include <QHBoxLayout>
#include <algorithm>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/StatusDot.h>
#include <tallywick/ui/StyledLabel.h>

namespace tallywick {

using AppStyle::Foreground;
using AppStyle::TextStyle;

ConnectionStatusView::ConnectionStatusView(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      dot_(new StatusDot(9, {}, this)),
      status_(new StyledLabel(TextStyle::caption, Foreground::secondary, this)),
      version_(new StyledLabel(TextStyle::caption, Foreground::tertiary, this)) {
    setObjectName(QStringLiteral("connectionStatus"));
    dot_->setObjectName(QStringLiteral("connectionDot"));
    status_->setObjectName(QStringLiteral("connectionText"));
    version_->setObjectName(QStringLiteral("hostVersionText"));

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 5, 8, 5);
    row->setSpacing(6);
    row->addWidget(dot_, 0, Qt::AlignVCenter);
    row->addWidget(status_, 0, Qt::AlignVCenter);
    row->addWidget(version_, 0, Qt::AlignVCenter);

    showConnection();
    showVersion();
    // One width for both words, so that nothing beside them moves when the host comes or goes.
    const QFontMetrics metrics(status_->font());
    const int widest = std::max(metrics.horizontalAdvance(tr("Host connected")),
                                metrics.horizontalAdvance(tr("Host offline")));
    status_->setFixedSize(widest + 1, status_->sizeHint().height());
    connect(&model_, &AppModel::isConnectedChanged, this, &ConnectionStatusView::showConnection);
    connect(&model_, &AppModel::hostVersionChanged, this, &ConnectionStatusView::showVersion);
}

void ConnectionStatusView::showConnection() {
    const bool connected = model_.isConnected();
    dot_->setTint([connected](const QPalette& palette) {
        return connected ? AppStyle::connectedColor(palette) : AppStyle::disconnectedColor(palette);
    });
    status_->setText(connected ? tr("Host connected") : tr("Host offline"));
}

void ConnectionStatusView::showVersion() {
    const std::string& version = model_.hostVersion();
    // "v" and the version exactly as the host wrote it, or nothing at all.
    version_->setTextFixingSize(
        version.empty()
            ? QString()
            : tr("v%1").arg(QString::fromUtf8(version.data(), static_cast<qsizetype>(version.size()))));
}

}  // namespace tallywick
