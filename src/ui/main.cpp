// SPDX-License-Identifier: MIT
#include <tallywick/app/AppMain.h>
#include <tallywick/link/GuardedMain.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/RootView.h>

int main(int argc, char** argv) {
    return tallywick::guardedMain("tallywick", [&] {
        return tallywick::appMain(argc, argv, tallywick::makeRootView, tallywick::AppStyle::darkPalette);
    });
}
