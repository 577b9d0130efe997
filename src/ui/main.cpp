// SPDX-License-Identifier: MIT
#include <tallywick/AppMain.h>
#include <tallywick/AppStyle.h>
#include <tallywick/GuardedMain.h>
#include <tallywick/RootView.h>

int main(int argc, char** argv) {
    return tallywick::guardedMain("tallywick", [&] {
        return tallywick::appMain(argc, argv, tallywick::makeRootView, tallywick::AppStyle::darkPalette);
    });
}
