// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>

#include <chrono>
#include <filesystem>
#include <future>
#include <string>

#include <tallywick/link/IoThread.h>
#include <tallywick/link/RuntimeDirectory.h>

namespace tallywick::testing {

// A private runtime folder per test, removed afterwards.
class ScratchRuntime {
public:
    ScratchRuntime() {
        static int counter = 0;
        path_ = std::filesystem::path(::testing::TempDir()) /
                ("link-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
        std::filesystem::remove_all(path_);
        EXPECT_TRUE(prepareRuntimeDirectory(path_).usable());
    }
    ~ScratchRuntime() { std::filesystem::remove_all(path_); }
    std::string socket() const { return (path_ / "host.sock").string(); }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

inline sockaddr_un unixAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    return address;
}

// A plain blocking client socket, or -1 when nothing accepts at the path.
inline int connectUnix(const std::string& path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = unixAddress(path);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

template <class T>
T await(std::future<T>& future, std::chrono::seconds limit = std::chrono::seconds{10}) {
    if (future.wait_for(limit) != std::future_status::ready) {
        ADD_FAILURE() << "timed out";
        return T{};
    }
    return future.get();
}

template <class T>
T await(std::future<T>&& future, std::chrono::seconds limit = std::chrono::seconds{10}) {
    return await(future, limit);
}

}  // namespace tallywick::testing
