#include <tallywick/AppMain.h>

int main(int argc, char** argv) {
    return tallywick::appMain(argc, argv);
}
