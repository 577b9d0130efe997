#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "support/HostClients.h"
#include "support/HostProcess.h"

namespace tallywick::testing {

// A fresh host process per test, in its own scratch folder.
class HostFixture : public ::testing::Test {
protected:
    void SetUp() override {
        static int counter = 0;
        folder_ = std::filesystem::path(::testing::TempDir()) /
                  ("host-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
        std::filesystem::remove_all(folder_);
        host_ = std::make_unique<HostProcess>(folder_, TALLYWICK_HOST_PATH);
        ASSERT_TRUE(host_->start()) << host_->stderrText();
    }
    void TearDown() override {
        host_.reset();
        std::filesystem::remove_all(folder_);
    }

    std::unique_ptr<ControlSession> control() { return std::make_unique<ControlSession>(host_->socketPath()); }
    std::unique_ptr<AgentLink> agent() { return std::make_unique<AgentLink>(host_->socketPath()); }

    static std::string initializeLine(const std::string& client, int id = 1) {
        return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
               R"(,"method":"initialize","params":{"protocolVersion":"2025-11-25","capabilities":{},)"
               R"("clientInfo":{"name":")" + client + R"(","version":"1.0"}}})";
    }
    static std::string toolLine(int id, const std::string& tool, const std::string& arguments) {
        return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
               R"(,"method":"tools/call","params":{"name":")" + tool + R"(","arguments":)" + arguments + "}}";
    }

    std::filesystem::path folder_;
    std::unique_ptr<HostProcess> host_;
};

}  // namespace tallywick::testing
