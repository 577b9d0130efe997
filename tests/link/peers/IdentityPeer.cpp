// SPDX-License-Identifier: MIT
// A small program whose only purpose is the identity note CMake gives it.
// Tests run it as a peer process, or read its file.
#include <unistd.h>

#include <cstdlib>

int main(int argc, char** argv) {
    // With an argument: stay alive that many seconds, so a test can inspect the process.
    if (argc > 1) ::sleep(static_cast<unsigned>(std::atoi(argv[1])));
    return 0;
}
