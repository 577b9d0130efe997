// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>

#include <tallywick/link/SocketAddress.h>

using namespace tallywick;
namespace fs = std::filesystem;

namespace {

fs::path deepFolder(std::size_t length) {
    auto folder = fs::path(::testing::TempDir()) / ("sa-" + std::to_string(::getpid()));
    fs::remove_all(folder);
    while (folder.string().size() < length) folder /= "a-folder-with-a-long-name";
    fs::create_directories(folder);
    return folder;
}

// Binds a listener at the address; the descriptor, or -1.
int listenAt(const SocketAddress& address) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(fd, address.data(), address.size()) != 0 || ::listen(fd, 1) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

}  // namespace

TEST(SocketAddressTest, PathsOfAnyLengthAreBoundReachedAndRemoved) {
    for (const std::size_t length : {20u, 107u, 150u, 3000u}) {
        const auto folder = deepFolder(length);
        const std::string path = (folder / "service.sock").string();
        auto resolved = SocketAddress::of(path);
        ASSERT_TRUE(resolved.has_value()) << resolved.error();
        const auto& address = resolved.value();
        EXPECT_LT(address.usablePath().size(), 108u);
        EXPECT_EQ(address.usablePath() == path, path.size() < 108) << "short paths are used as they are";

        EXPECT_FALSE(acceptsConnections(path)) << "nothing listens yet";
        const int listener = listenAt(address);
        ASSERT_GE(listener, 0) << length;
        EXPECT_TRUE(fs::exists(path)) << "the socket file is where the long path says";
        EXPECT_TRUE(acceptsConnections(path));
        ::close(listener);
        EXPECT_FALSE(acceptsConnections(path)) << "a leftover file accepts nothing";
        EXPECT_TRUE(address.unlink());
        EXPECT_FALSE(fs::exists(path));
    }
}

TEST(SocketAddressTest, WhatCannotBeAddressedIsSaidNotThrown) {
    EXPECT_FALSE(SocketAddress::of("").has_value());
    const auto missing = SocketAddress::of(deepFolder(150).string() + "/missing/service.sock");
    ASSERT_FALSE(missing.has_value());
    EXPECT_NE(missing.error().find("cannot open the socket's folder"), std::string::npos);
    const auto longName = SocketAddress::of(deepFolder(150).string() + "/" + std::string(120, 'n'));
    ASSERT_FALSE(longName.has_value());
    EXPECT_NE(longName.error().find("file name is too long"), std::string::npos);
}
