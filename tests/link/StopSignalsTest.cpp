// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include <tallywick/link/StopSignals.h>

// A stop signal sent while other threads run must reach wait(), not end the
// process through a thread that never blocked it.
TEST(StopSignalsTest, WaitReceivesTheSignalWhileThreadsRun) {
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const tallywick::StopSignals stop;
        std::thread busy([] {
            for (;;) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        });
        busy.detach();
        (void)!::write(ready[1], "x", 1);
        ::_exit(stop.wait() == SIGTERM ? 0 : 1);
    }
    char byte;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ::kill(child, SIGTERM);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "the signal ended the process instead";
    EXPECT_EQ(WEXITSTATUS(status), 0);
    ::close(ready[0]);
    ::close(ready[1]);
}
