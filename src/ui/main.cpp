#include <tallywick/AppMain.h>
#include <tallywick/RootView.h>

int main(int argc, char** argv) {
    return tallywick::appMain(argc, argv, tallywick::makeRootView);
}
