// SPDX-License-Identifier: MIT
#pragma once

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

#include <unistd.h>

#include <exception>
#include <string>
#include <thread>

namespace tallywick {

// An io_context with one thread of its own running it: the threads on which
// the link reads, writes and calls its handlers.
class IoThread {
public:
    IoThread() : work_(asio::make_work_guard(context_)), thread_([this] { runUntilStopped(context_); }) {}
    ~IoThread() {
        work_.reset();
        context_.stop();
        if (thread_.joinable()) thread_.join();
    }
    IoThread(const IoThread&) = delete;
    IoThread& operator=(const IoThread&) = delete;

    asio::io_context& context() { return context_; }

    // Runs the context until it is stopped. A handler that throws (only a
    // defect or an exhausted machine can make one) is reported on stderr and
    // the loop goes on: one bad message must not end the program.
    static void runUntilStopped(asio::io_context& context) {
        for (;;) {
            try {
                context.run();
                return;
            } catch (const std::exception& error) {
                const std::string line =
                    std::string("internal error on an I/O thread: ") + error.what() + "\n";
                [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
            }
        }
    }

private:
    asio::io_context context_;
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::thread thread_;
};

}  // namespace tallywick
