// SPDX-License-Identifier: MIT
#include <tallywick/ui/SettingsPaneView.h>

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <tallywick/ui/AboutSection.h>
#include <tallywick/ui/AccessSettingsSection.h>
#include <tallywick/ui/HostSettingsSection.h>
#include <tallywick/ui/NewAccountSettingsSection.h>

namespace tallywick {

SettingsPaneView::SettingsPaneView(AppModel& model, RegistrationController::LoginItemFactory loginItem,
                                   QWidget* parent)
    : QScrollArea(parent),
      access_(new AccessSettingsSection(model)),
      newAccounts_(new NewAccountSettingsSection(model)),
      host_(new HostSettingsSection(model, std::move(loginItem))),
      about_(new AboutSection) {
    setObjectName(QStringLiteral("settingsPaneView"));
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Not a stop of its own for Tab, where it could show no focus: it
    // scrolls to whichever of its controls takes the focus.
    setFocusPolicy(Qt::NoFocus);

    auto* form = new QWidget;
    form->setObjectName(QStringLiteral("settingsForm"));
    form->setMaximumWidth(maximumFormWidth);
    auto* sections = new QVBoxLayout(form);
    sections->setContentsMargins(0, 0, 0, 0);
    sections->setSpacing(20);
    for (QWidget* section : std::initializer_list<QWidget*>{access_, newAccounts_, host_, about_})
        sections->addWidget(section);
    sections->addStretch(1);

    auto* page = new QWidget;
    auto* centred = new QHBoxLayout(page);
    centred->setContentsMargins(24, 20, 24, 20);
    centred->addStretch(0);
    centred->addWidget(form, 1);
    centred->addStretch(0);
    setWidget(page);
    // The form lies on the window's own background.
    viewport()->setBackgroundRole(QPalette::Window);
    page->setBackgroundRole(QPalette::Window);
}

QWidget* makeSettingsPaneView(AppModel& model) {
    return new SettingsPaneView(model);
}

}  // namespace tallywick
