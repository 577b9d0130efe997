// SPDX-License-Identifier: MIT
#include <tallywick/demo/BridgeChild.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

namespace tallywick {

namespace {

constexpr std::size_t maximumLine = 8u << 20;  // past the bridge's own limit; more is not a line of ours

void closeQuietly(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

}  // namespace

std::unique_ptr<BridgeChild> BridgeChild::launch(const std::string& executable,
                                                 const std::vector<std::string>& arguments, bool keepStderr,
                                                 std::string& problem) {
    int in[2], out[2];
    if (::pipe2(in, O_CLOEXEC) != 0) {
        problem = std::strerror(errno);
        return nullptr;
    }
    if (::pipe2(out, O_CLOEXEC) != 0) {
        problem = std::strerror(errno);
        ::close(in[0]);
        ::close(in[1]);
        return nullptr;
    }
    std::vector<char*> argv{const_cast<char*>(executable.c_str())};
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(in[0], STDIN_FILENO);
        ::dup2(out[1], STDOUT_FILENO);
        if (!keepStderr) {
            const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
            if (null >= 0) ::dup2(null, STDERR_FILENO);
        }
        // Its own process group: Ctrl-C at the terminal reaches the demo only,
        // which then ends each bridge by closing its input.
        ::setpgid(0, 0);
        ::signal(SIGPIPE, SIG_DFL);
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    if (pid < 0) {
        problem = std::strerror(errno);
        ::close(in[1]);
        ::close(out[0]);
        return nullptr;
    }
    std::unique_ptr<BridgeChild> child(new BridgeChild());
    child->pid_ = pid;
    child->input_ = in[1];
    child->output_ = out[0];
    ::fcntl(child->input_, F_SETFL, ::fcntl(child->input_, F_GETFL) | O_NONBLOCK);
    ::fcntl(child->output_, F_SETFL, ::fcntl(child->output_, F_GETFL) | O_NONBLOCK);
    return child;
}

BridgeChild::~BridgeChild() {
    closeInputNow();
    if (pid_ > 0 && !status_) finish(std::chrono::seconds(2));
    closeQuietly(output_);
}

bool BridgeChild::sendLine(std::string_view line) {
    if (input_ < 0 || closeWhenFlushed_) return false;
    outgoing_.append(line);
    outgoing_.push_back('\n');
    return flush();
}

bool BridgeChild::flush() {
    while (input_ >= 0 && !outgoing_.empty()) {
        const ssize_t count = ::write(input_, outgoing_.data(), outgoing_.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return true;
        if (count <= 0) {
            closeInputNow();  // the bridge is gone; its output says the rest
            return false;
        }
        outgoing_.erase(0, static_cast<std::size_t>(count));
    }
    if (closeWhenFlushed_) closeInputNow();
    return input_ >= 0 || closeWhenFlushed_;
}

void BridgeChild::closeInput() {
    closeWhenFlushed_ = true;
    flush();
}

void BridgeChild::closeInputNow() {
    closeQuietly(input_);
    outgoing_.clear();
}

bool BridgeChild::readLines(std::vector<std::string>& lines) {
    if (output_ < 0) return false;
    for (;;) {
        char chunk[16384];
        const ssize_t count = ::read(output_, chunk, sizeof chunk);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        if (count <= 0) {
            closeQuietly(output_);
            break;
        }
        incoming_.append(chunk, static_cast<std::size_t>(count));
        std::size_t start = 0;
        for (auto newline = incoming_.find('\n'); newline != std::string::npos;
             newline = incoming_.find('\n', start)) {
            lines.push_back(incoming_.substr(start, newline - start));
            start = newline + 1;
        }
        incoming_.erase(0, start);
        if (incoming_.size() > maximumLine) incoming_.clear();
    }
    if (output_ < 0 && !incoming_.empty()) {
        lines.push_back(std::move(incoming_));  // a last line without its LF
        incoming_.clear();
    }
    return output_ >= 0;
}

int BridgeChild::finish(std::chrono::milliseconds limit) {
    if (status_) return *status_;
    const auto deadline = std::chrono::steady_clock::now() + limit;
    int status = 0;
    for (;;) {
        const pid_t done = ::waitpid(pid_, &status, WNOHANG);
        if (done == pid_ || (done < 0 && errno != EINTR)) break;
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(pid_, SIGKILL);
            while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
            }
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    status_ = status;
    return status;
}

}  // namespace tallywick
