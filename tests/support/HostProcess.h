#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <tallywick/RuntimeDirectory.h>

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

    std::string runtimeDirectory() const { return (folder_ / "run").string(); }
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
    void stop() { kill(SIGTERM); }

    // Runs a program to its end with stderr into a file; gives its wait status.
    static int runToEnd(const std::vector<std::string>& arguments, const std::string& stderrFile) {
        const pid_t pid = spawn(arguments, stderrFile);
        int status = 0;
        ::waitpid(pid, &status, 0);
        return status;
    }

    static pid_t spawn(const std::vector<std::string>& arguments, const std::string& stderrFile) {
        const pid_t pid = ::fork();
        if (pid != 0) return pid;
        const int err = ::open(stderrFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        if (err >= 0) ::dup2(err, 2);
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
    // A socket file alone may be a killed host's leftover; only a listener accepts.
    bool accepts() const {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = socketPath();
        if (path.size() >= sizeof address.sun_path) return false;
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        const bool ok = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        ::close(fd);
        return ok;
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
    std::string executable_;
    pid_t pid_ = -1;
};

}  // namespace tallywick::testing
