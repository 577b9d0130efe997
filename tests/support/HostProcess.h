// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/SocketAddress.h>

namespace tallywick::testing {

// A real tallywick-host run as a child process, with its database and
// runtime folder inside one scratch folder and its stderr kept in a file.
class HostProcess {
public:
    HostProcess(std::filesystem::path folder, std::string executable)
        : folder_(std::move(folder)), executable_(std::move(executable)) {
        std::filesystem::create_directories(folder_);
    }
    ~HostProcess() { stop(); }
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    std::string runtimeDirectory() const { return runtime_.empty() ? (folder_ / "run").string() : runtime_; }
    void setRuntimeDirectory(std::string path) { runtime_ = std::move(path); }
    std::string databasePath() const { return (folder_ / "data" / "ledger.sqlite3").string(); }
    std::string socketPath() const { return endpointPath(runtimeDirectory()); }
    std::string stderrPath() const { return (folder_ / "host.stderr").string(); }
    std::string stderrText() const {
        std::ifstream in(stderrPath());
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    pid_t pid() const { return pid_; }

    // Starts the host and waits until its socket accepts; false if it does not come up.
    bool start(std::vector<std::string> extraArguments = {}) {
        std::vector<std::string> arguments{executable_, "--database", databasePath(), "--runtime-dir",
                                           runtimeDirectory()};
        arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
        pid_ = spawn(arguments, stderrPath());
        return pid_ > 0 && waitForSocket();
    }

    // Sends the signal and reaps the process; gives its wait status.
    int kill(int signal = SIGKILL) {
        if (pid_ <= 0) return -1;
        ::kill(pid_, signal);
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
        return status;
    }
    // Stops our host, and any host a client started on demand in the same
    // runtime folder (it is not our child: its lock tells when it is gone).
    void stop() {
        kill(SIGTERM);
        stopOnDemandHost();
    }

    // The pid a running host wrote into its lock, if a host holds the lock.
    std::optional<pid_t> lockHolder() const {
        const std::string lock = runtimeDirectory() + "/host.lock";
        const int fd = ::open(lock.c_str(), O_RDWR | O_CLOEXEC);
        if (fd < 0) return std::nullopt;
        std::optional<pid_t> holder;
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            char text[32] = {};
            if (::pread(fd, text, sizeof text - 1, 0) > 0) holder = static_cast<pid_t>(std::atol(text));
        }
        ::close(fd);  // releases it again if we took it
        return holder;
    }

    // Runs a program to its end with stderr into a file; gives its wait status.
    static int runToEnd(const std::vector<std::string>& arguments, const std::string& stderrFile) {
        const pid_t pid = spawn(arguments, stderrFile);
        int status = 0;
        ::waitpid(pid, &status, 0);
        return status;
    }

    static pid_t spawn(const std::vector<std::string>& arguments, const std::string& stderrFile) {
        return spawn(arguments, [&stderrFile] {
            return ::open(stderrFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        });
    }
    // The same with stderr on the descriptor `errorStream` gives in the child.
    template <class ErrorStream>
    static pid_t spawn(const std::vector<std::string>& arguments, ErrorStream errorStream) {
        const pid_t pid = ::fork();
        if (pid != 0) return pid;
        if (const int err = errorStream(); err >= 0) ::dup2(err, 2);
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        std::vector<char*> argv;
        for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }

private:
    bool accepts() const { return acceptsConnections(socketPath()); }

    void stopOnDemandHost() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        for (auto holder = lockHolder(); holder && std::chrono::steady_clock::now() < deadline;
             holder = lockHolder()) {
            if (*holder > 0) ::kill(*holder, SIGTERM);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    bool waitForSocket() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            if (accepts()) return true;
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    std::filesystem::path folder_;
    std::string runtime_;  // empty: the scratch folder's "run"
    std::string executable_;
    pid_t pid_ = -1;
};

}  // namespace tallywick::testing
