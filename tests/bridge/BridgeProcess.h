// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tallywick::testing {

// A real tallywick-bridge as a child process, driven the way an agent's
// client drives it: bytes into its stdin, lines read off its stdout, its
// stderr kept in a file. send() and the reading functions may be used from
// two threads at once (one each), as a pipelining client needs.
class BridgeProcess {
public:
    BridgeProcess(const std::string& executable, const std::vector<std::string>& arguments,
                  std::string stderrPath)
        : stderrPath_(std::move(stderrPath)) {
        ::signal(SIGPIPE, SIG_IGN);  // a bridge that died must fail send(), not end the driver
        int in[2], out[2];
        if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(in[0], 0);
            ::dup2(out[1], 1);
            const int err = ::open(stderrPath_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
            if (err >= 0) ::dup2(err, 2);
            sigset_t none;
            sigemptyset(&none);
            ::sigprocmask(SIG_SETMASK, &none, nullptr);
            std::vector<char*> argv{const_cast<char*>(executable.c_str())};
            for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
            argv.push_back(nullptr);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(in[0]);
        ::close(out[1]);
        input_ = in[1];
        output_ = out[0];
    }
    ~BridgeProcess() {
        closeInput();
        if (pid_ > 0 && !wait(std::chrono::seconds(5))) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        if (output_ >= 0) ::close(output_);
    }
    BridgeProcess(const BridgeProcess&) = delete;
    BridgeProcess& operator=(const BridgeProcess&) = delete;

    bool running() const { return pid_ > 0; }

    bool send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = ::write(input_, bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }
    bool sendLine(std::string_view line) { return send(std::string(line) + "\n"); }

    void closeInput() {
        if (input_ >= 0) ::close(input_);
        input_ = -1;
    }

    // The next line of stdout without its LF; none at its end or when the time is up.
    std::optional<std::string> readLine(std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        for (;;) {
            if (const auto newline = buffered_.find('\n', start_); newline != std::string::npos) {
                std::string line = buffered_.substr(start_, newline - start_);
                start_ = newline + 1;
                if (start_ > 64 * 1024) {
                    buffered_.erase(0, start_);
                    start_ = 0;
                }
                return line;
            }
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0) return std::nullopt;
            pollfd ready{output_, POLLIN, 0};
            if (::poll(&ready, 1, static_cast<int>(left.count())) <= 0) continue;
            char chunk[65536];
            const ssize_t count = ::read(output_, chunk, sizeof chunk);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return std::nullopt;
            buffered_.append(chunk, static_cast<std::size_t>(count));
        }
    }

    // Everything on stdout until it closes (what is left after readLine()s).
    std::string readRest(std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        std::string rest;
        while (auto line = readLine(limit)) rest += *line + "\n";
        return rest + buffered_.substr(start_);
    }

    // The wait status once the bridge has exited; none when it is still running after the limit.
    std::optional<int> wait(std::chrono::milliseconds limit) {
        if (exitStatus_) return exitStatus_;
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (pid_ > 0) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                exitStatus_ = status;
                break;
            }
            if (std::chrono::steady_clock::now() > deadline) break;
            ::usleep(2000);
        }
        return exitStatus_;
    }

    std::string stderrText() const {
        std::ifstream in(stderrPath_);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

private:
    std::string stderrPath_;
    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string buffered_;
    std::size_t start_ = 0;
    std::optional<int> exitStatus_;
};

}  // namespace tallywick::testing
