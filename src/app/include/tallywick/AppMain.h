// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/MainWindow.h>
#include <tallywick/PlaceholderRootView.h>

namespace tallywick {

// The switch that registers the host's login item and exits: exact, in any position.
inline constexpr const char* registerAndExitSwitch = "--register-and-exit";
inline constexpr const char* unregisterAndExitSwitch = "--unregister-and-exit";

// The desktop manager's process entry. With the switch it registers and
// exits with 0, 2 or 1, making no window, model or connection; otherwise it
// runs the application with one window whose content `rootView` makes.
int appMain(int argc, char** argv, const MainWindow::RootViewFactory& rootView = makePlaceholderRootView);

}  // namespace tallywick
