// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <tallywick/model/JsonWriter.h>

#include "support/HostClients.h"
#include "support/HostProcess.h"

namespace tallywick::testing {

inline std::string slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// How one of our programs ended.
struct ProgramRun {
    int status = -1;  // the exit status, or -1 when it did not exit normally
    std::chrono::steady_clock::duration took{};
    std::string out, err;
};

// Runs a program to its end with its output in files of `folder`.
inline ProgramRun runProgram(std::vector<std::string> arguments, const std::filesystem::path& folder) {
    const auto out = folder / "program.out", err = folder / "program.err";
    std::vector<char*> argv;
    for (auto& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const auto started = std::chrono::steady_clock::now();
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
        ::dup2(::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, std::chrono::steady_clock::now() - started,
            slurp(out), slurp(err)};
}

// A real host per test, in a scratch folder of its own; a test that wants
// to start it itself passes false.
class HostFixture : public ::testing::Test {
protected:
    explicit HostFixture(bool startHost = true) : startHost_(startHost) {}

    void SetUp() override {
        static int counter = 0;
        folder_ = std::filesystem::path(::testing::TempDir()) /
                  (std::string(::testing::UnitTest::GetInstance()->current_test_suite()->name()) + "-" +
                   std::to_string(::getpid()) + "-" + std::to_string(++counter));
        std::filesystem::remove_all(folder_);
        host_ = std::make_unique<HostProcess>(folder_, TALLYWICK_HOST_PATH);
        // A host that a bridge or tallywickctl starts on demand inherits this,
        // so it serves the test's database, never the user's own.
        ::setenv("TALLYWICK_DATA_DIR", std::filesystem::path(host_->databasePath()).parent_path().c_str(), 1);
        if (startHost_) {
            ASSERT_TRUE(host_->start()) << host_->stderrText();
        }
    }
    void TearDown() override {
        host_.reset();
        std::filesystem::remove_all(folder_);
    }

    // A copy of one of our programs in a folder of its own, without the host
    // beside it: a client that cannot start a host on demand.
    std::string aloneCopy(const std::string& program) const {
        const auto folder = folder_ / "alone";
        std::filesystem::create_directories(folder);
        const auto copy = folder / std::filesystem::path(program).filename();
        std::filesystem::copy_file(program, copy, std::filesystem::copy_options::overwrite_existing);
        return copy.string();
    }

    // Restarts the host in a runtime folder whose socket path is at least
    // 150 bytes, longer than a socket address holds.
    void moveHostDeep() {
        host_->stop();
        auto deep = folder_;
        while (endpointPath((deep / "run").string()).size() < 150) deep /= "a-rather-long-folder-name";
        std::filesystem::create_directories(deep);  // the host makes only the last folder
        host_->setRuntimeDirectory((deep / "run").string());
        ASSERT_TRUE(host_->start()) << host_->stderrText();
    }

    std::unique_ptr<ControlSession> control() {
        return std::make_unique<ControlSession>(host_->socketPath());
    }
    std::unique_ptr<AgentLink> agent() { return std::make_unique<AgentLink>(host_->socketPath()); }

    // The client's name is any text, written as a JSON string.
    static std::string initializeLine(const std::string& client, int id = 1) {
        JsonWriter name;
        name.string(client);
        return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
               R"(,"method":"initialize","params":{"protocolVersion":"2025-11-25","capabilities":{},)"
               R"("clientInfo":{"name":)" +
               name.text() + R"(,"version":"1.0"}}})";
    }
    static std::string toolLine(int id, const std::string& tool, const std::string& arguments) {
        return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
               R"(,"method":"tools/call","params":{"name":")" + tool + R"(","arguments":)" + arguments + "}}";
    }

    std::filesystem::path folder_;
    std::unique_ptr<HostProcess> host_;

private:
    bool startHost_;
};

}  // namespace tallywick::testing
