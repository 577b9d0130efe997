// SPDX-License-Identifier: MIT
#pragma once

#include <QPalette>
#include <functional>

#include <tallywick/app/MainWindow.h>
#include <tallywick/app/PlaceholderRootView.h>

namespace tallywick {

// The switch that registers the host's login item and exits: exact, in any position.
inline constexpr const char* registerAndExitSwitch = "--register-and-exit";
inline constexpr const char* unregisterAndExitSwitch = "--unregister-and-exit";

// The palette the application takes while the desktop prefers dark.
using DarkPaletteFactory = std::function<QPalette()>;

// The desktop manager's process entry. With the switch it registers and
// exits with 0, 2 or 1, making no window, model or connection. Otherwise,
// when a window is already open for the runtime folder, it raises that one
// and exits with 0 (1 when it does not answer); else it runs the application
// with one window whose content `rootView` makes, in `darkPalette`'s colours
// while the desktop prefers dark (none: always Qt's own).
int appMain(int argc, char** argv, const MainWindow::RootViewFactory& rootView = makePlaceholderRootView,
            const DarkPaletteFactory& darkPalette = {});

}  // namespace tallywick
