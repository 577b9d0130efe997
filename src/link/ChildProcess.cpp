// SPDX-License-Identifier: MIT
#include <tallywick/link/ChildProcess.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

extern char** environ;

namespace tallywick::ChildProcess {
namespace {

// Our programs say little; anything beyond this is not worth keeping.
constexpr std::size_t kCaptureLimit = 1 << 20;

void closeQuietly(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

std::vector<char*> argumentVector(const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    return argv;
}

// Reads both pipes until each is closed, so neither side can block the other.
void drain(int out, int err, Finished& result) {
    pollfd fds[2] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
    std::string* sinks[2] = {&result.output, &result.errors};
    int open = 2;
    char buffer[4096];
    while (open > 0) {
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            const ssize_t count = ::read(fds[i].fd, buffer, sizeof buffer);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) {
                fds[i].fd = -1;
                --open;
            } else if (sinks[i]->size() < kCaptureLimit) {
                sinks[i]->append(buffer, static_cast<std::size_t>(count));
            }
        }
    }
}

}  // namespace

Finished run(const std::vector<std::string>& arguments) {
    Finished result;
    if (arguments.empty()) return result;
    int out[2] = {-1, -1};
    int err[2] = {-1, -1};
    if (::pipe2(out, O_CLOEXEC) != 0) return result;
    if (::pipe2(err, O_CLOEXEC) != 0) {
        closeQuietly(out[0]);
        closeQuietly(out[1]);
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none, piped;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    // Our programs ignore SIGPIPE; another program expects the default.
    sigemptyset(&piped);
    sigaddset(&piped, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &piped);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    auto argv = argumentVector(arguments);
    pid_t pid = -1;
    const int spawned = ::posix_spawnp(&pid, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    closeQuietly(out[1]);
    closeQuietly(err[1]);
    if (spawned == 0) {
        drain(out[0], err[0], result);
        int status = 0;
        while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
    }
    closeQuietly(out[0]);
    closeQuietly(err[0]);
    return result;
}

std::optional<std::string> findOnPath(const std::string& name) {
    if (name.empty() || name.find('/') != std::string::npos) return std::nullopt;
    const char* path = std::getenv("PATH");
    // What posix_spawnp and execvp search when PATH is unset.
    const std::string folders = path ? path : "/bin:/usr/bin";
    std::size_t begin = 0;
    while (begin <= folders.size()) {
        std::size_t end = folders.find(':', begin);
        if (end == std::string::npos) end = folders.size();
        // Built by appending: g++ 12 misreads `folder + "/" + name` as overlapping copies.
        std::string candidate = end == begin ? std::string(".") : folders.substr(begin, end - begin);
        candidate += '/';
        candidate += name;
        struct stat info {};
        if (::stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            ::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
        begin = end + 1;
    }
    return std::nullopt;
}

Result<void, std::string> spawnDetached(const std::vector<std::string>& arguments, int passed) {
    if (arguments.empty()) return fail(std::string("nothing to start"));
    const std::string& path = arguments.front();
    // Everything the children need is prepared here: between fork and exec
    // only async-signal-safe calls are allowed, since other threads may hold locks.
    auto argv = argumentVector(arguments);
    int report[2] = {-1, -1};  // the grandchild writes errno here if exec fails
    if (::pipe2(report, O_CLOEXEC) != 0)
        return fail(std::string("cannot create a pipe: ") + std::strerror(errno));

    const pid_t child = ::fork();
    if (child < 0) {
        const int error = errno;
        closeQuietly(report[0]);
        closeQuietly(report[1]);
        return fail(std::string("cannot fork: ") + std::strerror(error));
    }
    if (child == 0) {
        ::setsid();
        const pid_t grandchild = ::fork();
        if (grandchild != 0) ::_exit(grandchild < 0 ? 1 : 0);
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::signal(SIGPIPE, SIG_DFL);
        const int null = ::open("/dev/null", O_RDWR);
        if (null >= 0) {
            ::dup2(null, 0);
            ::dup2(null, 1);
            ::dup2(null, 2);
        }
        // Our sockets and files must not live on in the host; only the one
        // passed does, as descriptor 3 (dup2 leaves the copy open on exec).
        int reporting = report[1];
        if (passed >= 0 && reporting == 3) reporting = ::fcntl(3, F_DUPFD_CLOEXEC, 4);
        if (passed >= 0 && passed != 3) ::dup2(passed, 3);
        if (passed == 3) ::fcntl(3, F_SETFD, 0);
        ::close_range(passed >= 0 ? 4 : 3, ~0U, CLOSE_RANGE_CLOEXEC);
        ::execv(argv[0], argv.data());
        const int error = errno;
        [[maybe_unused]] const ssize_t written = ::write(reporting, &error, sizeof error);
        ::_exit(127);
    }
    closeQuietly(report[1]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    int error = 0;
    ssize_t count = 0;
    do {
        count = ::read(report[0], &error, sizeof error);
    } while (count < 0 && errno == EINTR);
    closeQuietly(report[0]);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return fail(std::string("cannot fork the host's session"));
    if (count == static_cast<ssize_t>(sizeof error))
        return fail("cannot run " + path + ": " + std::strerror(error));
    return {};
}

std::string siblingExecutable(const std::string& name) {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return name;
    return (self.parent_path() / name).string();
}

}  // namespace tallywick::ChildProcess
