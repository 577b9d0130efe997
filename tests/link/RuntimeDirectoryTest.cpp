// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <tallywick/link/RuntimeDirectory.h>

using namespace tallywick;
namespace fs = std::filesystem;

namespace {

class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    ~ScopedEnv() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }

private:
    const char* name_;
    std::optional<std::string> old_;
};

fs::path scratch() {
    auto dir = fs::path(::testing::TempDir()) / ("rt-" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    return dir;
}

}  // namespace

TEST(RuntimeDirectoryTest, PathFollowsTheEnvironment) {
    {
        ScopedEnv own("TALLYWICK_RUNTIME_DIR", "/run/custom");
        ScopedEnv xdg("XDG_RUNTIME_DIR", "/run/user/1000");
        EXPECT_EQ(runtimeDirectoryPath(), "/run/custom");
    }
    {
        ScopedEnv own("TALLYWICK_RUNTIME_DIR", nullptr);
        ScopedEnv xdg("XDG_RUNTIME_DIR", "/run/user/1000");
        EXPECT_EQ(runtimeDirectoryPath(), "/run/user/1000/tallywick");
    }
    ScopedEnv own("TALLYWICK_RUNTIME_DIR", "");
    ScopedEnv xdg("XDG_RUNTIME_DIR", nullptr);
    // A session root of the test's own that has no folder for the user: the
    // machine's /run/user is never consulted here.
    EXPECT_EQ(runtimeDirectoryPath((scratch() / "no-sessions").string()),
              "/tmp/tallywick-" + std::to_string(::geteuid()));
}

TEST(RuntimeDirectoryTest, CreatesAPrivateFolder) {
    const auto dir = scratch() / "tallywick";
    const auto prepared = prepareRuntimeDirectory(dir);
    EXPECT_TRUE(prepared.usable()) << prepared.problem;
    struct stat info {};
    ASSERT_EQ(::stat(dir.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    EXPECT_TRUE(prepareRuntimeDirectory(dir).usable()) << "an existing good folder is fine";
    EXPECT_EQ(endpointPath("/x").rfind("/x/", 0), 0u);
}

TEST(RuntimeDirectoryTest, RefusesUnsafeFolders) {
    const auto base = scratch();
    fs::create_directories(base / "open");
    ::chmod((base / "open").c_str(), 0750);
    EXPECT_FALSE(prepareRuntimeDirectory(base / "open").usable());

    fs::create_directories(base / "real");
    ::chmod((base / "real").c_str(), 0700);
    fs::create_directory_symlink(base / "real", base / "link");
    EXPECT_NE(prepareRuntimeDirectory(base / "link").problem.find("link"), std::string::npos);

    std::ofstream(base / "file") << "x";
    EXPECT_FALSE(prepareRuntimeDirectory(base / "file").usable());
    EXPECT_FALSE(prepareRuntimeDirectory("relative/path").usable());
    EXPECT_FALSE(prepareRuntimeDirectory(base / "missing" / "deeper").usable());

    if (::geteuid() == 0) {
        fs::create_directories(base / "theirs");
        ::chmod((base / "theirs").c_str(), 0700);
        ASSERT_EQ(::chown((base / "theirs").c_str(), 65534, 65534), 0);
        EXPECT_NE(prepareRuntimeDirectory(base / "theirs").problem.find("another user"), std::string::npos);
    }
}

// What an MCP client leaves a bridge: no XDG_RUNTIME_DIR. The login
// manager's private session folder is found anyway, and only when it is
// really the user's own and private.
TEST(RuntimeDirectoryTest, WithoutTheVariablesTheSessionFolderIsFound) {
    ScopedEnv own("TALLYWICK_RUNTIME_DIR", nullptr);
    ScopedEnv xdg("XDG_RUNTIME_DIR", nullptr);
    const auto root = scratch() / "run-user";
    const std::string uid = std::to_string(::geteuid());
    const std::string fallback = "/tmp/tallywick-" + uid;
    EXPECT_EQ(runtimeDirectoryPath(root.string()), fallback) << "no session folder";

    fs::create_directories(root / uid);
    ::chmod((root / uid).c_str(), 0700);
    EXPECT_EQ(runtimeDirectoryPath(root.string()), (root / uid / "tallywick").string());

    ::chmod((root / uid).c_str(), 0710);
    EXPECT_EQ(runtimeDirectoryPath(root.string()), fallback) << "open to the group";

    fs::remove(root / uid);
    fs::create_directories(root / "elsewhere");
    ::chmod((root / "elsewhere").c_str(), 0700);
    fs::create_directory_symlink(root / "elsewhere", root / uid);
    EXPECT_EQ(runtimeDirectoryPath(root.string()), fallback) << "a link";

    ScopedEnv set("XDG_RUNTIME_DIR", "/run/user/4242");
    EXPECT_EQ(runtimeDirectoryPath(root.string()), "/run/user/4242/tallywick") << "the variable wins";
}

// The default root itself, /run/user, with and without the user's session
// folder. Only inside the mount namespace that tests/support/
// inSessionNamespace.sh makes (ctest runs it as link_runtime_dir_*), where
// /run/user is a fresh tmpfs: the machine's own is never read.
TEST(RuntimeDirectoryTest, TheLoginSessionsFolderIsUsedWhenTheMachineHasOne) {
    const char* session = std::getenv("TALLYWICK_TEST_SESSION");
    if (session == nullptr) GTEST_SKIP() << "runs in a namespace of its own (ctest -R link_runtime_dir_)";
    ScopedEnv own("TALLYWICK_RUNTIME_DIR", nullptr);
    ScopedEnv xdg("XDG_RUNTIME_DIR", nullptr);
    const std::string uid = std::to_string(::geteuid());
    const fs::path folder = "/run/user/" + uid;
    if (std::string(session) == "absent") {
        ASSERT_FALSE(fs::exists(folder));
        EXPECT_EQ(runtimeDirectoryPath(), "/tmp/tallywick-" + uid);
        return;
    }
    ASSERT_EQ(std::string(session), "present");
    EXPECT_EQ(runtimeDirectoryPath(), (folder / "tallywick").string());
    const auto prepared = prepareRuntimeDirectory();
    EXPECT_TRUE(prepared.usable()) << prepared.problem;
    struct stat info {};
    ASSERT_EQ(::stat((folder / "tallywick").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
}
