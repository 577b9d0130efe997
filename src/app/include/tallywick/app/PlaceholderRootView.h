// SPDX-License-Identifier: MIT
#pragma once

#include <QMainWindow>
#include <QWidget>

namespace tallywick {

class AppModel;

// A bare view over the model until the real interface takes its place: the
// host's reachability and how many accounts and entries it holds.
QWidget* makePlaceholderRootView(AppModel& model, QMainWindow& window);

}  // namespace tallywick
