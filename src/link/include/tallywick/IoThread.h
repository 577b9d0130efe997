#pragma once

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

#include <thread>

namespace tallywick {

// An io_context with one thread of its own running it: the threads on which
// the link reads, writes and calls its handlers.
class IoThread {
public:
    IoThread() : work_(asio::make_work_guard(context_)), thread_([this] { context_.run(); }) {}
    ~IoThread() {
        work_.reset();
        context_.stop();
        if (thread_.joinable()) thread_.join();
    }
    IoThread(const IoThread&) = delete;
    IoThread& operator=(const IoThread&) = delete;

    asio::io_context& context() { return context_; }

private:
    asio::io_context context_;
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::thread thread_;
};

}  // namespace tallywick
